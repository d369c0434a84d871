// Fills the script heap until it reaches its limit, with few objects (heap
// snapshots of it stay quick); prints the simulated TV's root first, so that
// the caller can see it removed.
console.log('running ' + tarn.sim.root());
const kept = [];
const block = 'x'.repeat(4096);
setTimeout(function grow() {
  for (let i = 0; i < 200; i++) kept.push((block + i).split('').join(''));
  setTimeout(grow, 0);
}, 0);
