console.log('running ' + tarn.sim.root());
new Thrower().abort();
console.log('not reached');
