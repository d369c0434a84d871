new Thrower().task(tarn.args[0]);
setTimeout(() => console.log('timer after'), 20);
