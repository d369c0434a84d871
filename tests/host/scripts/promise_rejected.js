Promise.reject(new Error('nobody handles this'));
setTimeout(() => console.log('not reached'), 50);
