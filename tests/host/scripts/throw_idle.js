// An idle call that throws is logged; the loop goes on to the next one.
new Thrower().idle(tarn.args[0]);
setTimeout(() => console.log('timer after'), 20);
