// One heap snapshot of a heap of a given shape, timed around the snapshot
// call only. Runs under tarn-run (through QDUtil's "heapSnapshot") and under
// node (v8.writeHeapSnapshot), so both write the same shape:
//   chunked  400,000 small objects held in 400 arrays of 1,000
//   flat     the same objects in one array of 400,000
// Prints "ms <milliseconds> bytes <file size>".
const underNode = typeof QDUtil === 'undefined';
const shape = (underNode ? process.argv[2] : tarn.args[0]) || 'chunked';

function object(i) {
  return { id: i, name: 'obj' + i, pair: [i & 1023, i >> 10] };
}
const kept = [];
if (shape === 'flat') {
  const all = [];
  for (let i = 0; i < 400000; i++) all.push(object(i));
  kept.push(all);
} else {
  for (let k = 0; k < 400; k++) {
    const arr = [];
    for (let j = 0; j < 1000; j++) arr.push(object(k * 1000 + j));
    kept.push(arr);
  }
}
globalThis.kept = kept;

if (underNode) {
  const fs = require('fs');
  const path = require('path').join(require('os').tmpdir(), 'heap-bench-' + process.pid + '.heapsnapshot');
  const start = process.hrtime.bigint();
  require('v8').writeHeapSnapshot(path);
  const ms = Number(process.hrtime.bigint() - start) / 1e6;
  const bytes = fs.statSync(path).size;
  fs.unlinkSync(path);
  console.log('ms ' + ms.toFixed(1) + ' bytes ' + bytes);
} else {
  const q = new QDUtil();
  const path = '/opt/usr/apps/heap-bench.heapsnapshot';
  const start = Date.now();
  if (!q.heapSnapshot(path)) throw new Error('heapSnapshot failed');
  const ms = Date.now() - start;
  const bytes = tarn.sim.readFile(path).length;
  console.log('ms ' + ms.toFixed(1) + ' bytes ' + bytes);
}
