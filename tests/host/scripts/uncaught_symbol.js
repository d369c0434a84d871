throw Symbol('x');
