await new Promise(() => {});
console.log('never');
