var loadOrder = ['first'];
tarn.load('second.js');
tarn.load('deeper/third.js');
try {
  tarn.load('nowhere.js');
} catch (e) {
  console.log(e.message);
}
