console.log('from the script');
tarn.exitCode = 4;
