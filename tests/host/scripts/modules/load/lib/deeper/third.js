loadOrder.push('third');
tarn.load('../second.js');
