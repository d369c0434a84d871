console.log('throwing');
throw 42;
