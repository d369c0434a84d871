// The young generation keeps one size under a load of short-lived objects:
// the script heap's committed total before the load and after it. The old
// generation takes in the survivors (some megabytes); a young generation
// left to size itself adds twice its growth on top (to 36 MB here).
const mb = (bytes) => bytes / 1048576;
const before = mb(tarn.memoryUsage().heapTotal);
// Some live on for a while, as a script's caches do: a young generation
// left to size itself grows under them.
let kept = [];
let sink = 0;
for (let i = 0; i < 1e6; i++) {
  const o = {i, text: 'item' + i, list: [i, i + 1]};
  sink += o.list.length;
  if (i % 20 === 0) kept.push(o);
  if (kept.length > 2000) kept = [];
}
const after = mb(tarn.memoryUsage().heapTotal);
console.log(before >= 8 ? 'fixed' : 'small', after - before < 16 ? 'kept' : 'grew',
            sink === 2e6);
