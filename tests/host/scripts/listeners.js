// A listener keeps the process running until it is removed.
function listener() {}
tarn.on('event', listener);
setTimeout(() => { tarn.off('event', listener); console.log('removed'); }, 20);
let threw = '';
try { tarn.on('nonsense', listener); } catch (e) { threw = e.message; }
console.log(threw);
