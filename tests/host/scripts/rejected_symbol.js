Promise.reject(Symbol('in promise'));
