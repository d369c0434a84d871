// tarn.exit stops the script at once: no further statement, timer or listener.
setTimeout(() => console.log('timer ran'), 0);
tarn.on('event', () => console.log('listener ran'));
console.log('before');
tarn.exit(Number.isNaN(Number(tarn.args[0])) ? tarn.args[0] : (tarn.args[1] === 'text' ? tarn.args[0] : Number(tarn.args[0])));
console.log('after');
