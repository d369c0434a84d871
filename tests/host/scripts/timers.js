// Timers keep the process alive, run in due order, and a cleared one never runs.
const order = [];
const cleared = setTimeout(() => order.push('cleared timer ran'), 10);
setTimeout(() => order.push('second'), 30);
setTimeout((a, b) => order.push('first ' + a + b), 5, 'x', 'y');
clearTimeout(cleared);
let ticks = 0;
const interval = setInterval(() => {
  if (++ticks === 3) clearInterval(interval);
}, 1);
setTimeout(() => console.log(order.join(',') + ' ticks=' + ticks), 60);
Promise.resolve().then(() => order.push('microtask'));
