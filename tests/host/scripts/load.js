tarn.load('loaded/helper.js');
console.log(helperValue);
let message = '';
try { tarn.load('loaded/missing.js'); } catch (e) { message = e.message; }
console.log(message.includes('cannot read script') ? 'missing reported' : 'missing not reported');
