for (const path of ['', '.', '/', 'loaded']) {
  try { tarn.load(path); console.log('loaded ' + path); } catch (e) { console.log(e.name + ': ' + e.message); }
}
