import './lib/throws.mjs';
console.log('not reached');
