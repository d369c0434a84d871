// console.time and its kin: durations, labels and the warnings for unknown ones.
function spin(ms) {
  const end = Date.now() + ms;
  while (Date.now() < end) {
    // busy: the duration must be measurable
  }
}
console.time('a');
spin(5);
console.timeLog('a', 'extra', { x: 1 });
console.timeEnd('a');
console.time();
console.timeEnd();
console.time(42);
console.timeEnd(42);
console.timeEnd('a');
console.time('b');
console.time('b');
console.timeLog('never');
console.countReset('never');
try {
  console.time(Symbol('s'));
} catch (e) {
  console.log('symbol label:', e.name);
}
console.time('slow');
setTimeout(() => console.timeEnd('slow'), 1100);
