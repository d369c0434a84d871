setTimeout(() => { tarn.exitCode = 4; }, 5);
