// Threads of a bridge keep handing work over while the script ends at a
// random moment: flood(threads, events, idle calls).
const t = new Thrower();
let seen = 0;
tarn.on('event', () => ++seen);
tarn.on('interrupt', () => ++seen);
t.flood(4, Number(tarn.args[0] || 100000), Number(tarn.args[1] || 10000));
setTimeout(() => tarn.exit(0), Math.floor(Math.random() * 60));
