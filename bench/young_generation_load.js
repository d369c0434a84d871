// Garbage as scripts make it, timed, with the footprint after it:
//   short  4,000,000 small objects, one in 50 kept in a list of 20,000
//   cache  1,000,000 JSON texts parsed into a cache of 100,000 entries
// Prints "ms <milliseconds> rss <MB> heapTotal <MB>".
const load = tarn.args[0] || 'short';
const t0 = Date.now();
if (load === 'cache') {
  const cache = new Map();
  for (let i = 0; i < 1e6; i++) {
    const text = JSON.stringify({id: i, name: 'item' + i, tags: ['a', 'b', String(i % 7)]});
    cache.set(i % 100000, JSON.parse(text));
  }
} else {
  let keep = [];
  for (let i = 0; i < 4e6; i++) {
    const o = {a: i, b: 'x' + i, c: [i, i + 1]};
    if (i % 50 === 0) {
      keep.push(o);
      if (keep.length > 20000) keep = [];
    }
  }
}
const ms = Date.now() - t0;
const m = tarn.memoryUsage();
const mb = (bytes) => (bytes / 1048576).toFixed(1);
console.log('ms', ms, 'rss', mb(m.rss), 'heapTotal', mb(m.heapTotal));
