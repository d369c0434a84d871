console.log('running ' + tarn.sim.root());
setInterval(() => {}, 1000);
