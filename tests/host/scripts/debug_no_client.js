setTimeout(() => {
  console.log('ran to the end');
  tarn.exitCode = 4;
}, 10);
