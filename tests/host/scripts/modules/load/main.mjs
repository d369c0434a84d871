// tarn.load from a module and from the files it loads: each relative path
// starts from the calling file's own folder.
tarn.load('lib/first.js');
console.log(loadOrder.join(' > '));
try {
  tarn.load('lib/absent.js');
} catch (e) {
  console.log(e.message);
}
