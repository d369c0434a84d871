const p = Promise.reject(new Error('handled later'));
p.catch((e) => console.log('caught: ' + e.message));
