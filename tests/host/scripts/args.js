console.log(JSON.stringify(tarn.args));
