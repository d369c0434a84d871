// The run goes on while the module waits on a timer.
console.log('before');
const value = await new Promise((resolve) => setTimeout(() => resolve('timer'), 30));
console.log('after', value);
