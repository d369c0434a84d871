setTimeout(() => console.log('timer after exit'), 10);
console.log('before');
tarn.exit(7);
console.log('after');
