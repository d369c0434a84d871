// A heap snapshot of a script heap past 50 MB is written whole: it parses,
// its parts agree, and the objects and a marker string put on the heap are
// in it.
tarn.load('lib/check.js');

const q = new QDUtil();
function textOf(bytes) {
  const parts = [];
  for (let i = 0; i < bytes.length; i += 65536)
    parts.push(String.fromCharCode.apply(null, bytes.subarray(i, i + 65536)));
  return parts.join('');
}

// 400,000 small objects in arrays of 1,000: a little over 50 MB of heap.
const holders = [];
for (let k = 0; k < 400; k++) {
  const arr = [];
  for (let j = 0; j < 1000; j++) arr.push({ id: k * 1000 + j, name: 'obj' + (k * 1000 + j), pair: [j, k] });
  holders.push(arr);
}
const marker = ['large', 'heap', 'marker', Date.now().toString(36)].join('-');
globalThis.kept = { holders, marker };

tarn.sim.makeFolder('/opt/usr/apps/snapshots');
check.equal(q.heapSnapshot('/opt/usr/apps/snapshots/large.heapsnapshot'), true, 'written');
const bytes = tarn.sim.readFile('/opt/usr/apps/snapshots/large.heapsnapshot');
check.ok(bytes !== null && bytes.length > 50 * 1024 * 1024,
         'a file past 50 MB (' + (bytes ? bytes.length : 0) + ' bytes)');
let snap = null;
try {
  snap = JSON.parse(textOf(bytes));
} catch (e) {
  check.ok(false, 'parses as JSON: ' + e.message);
}
if (snap) {
  const meta = snap.snapshot.meta;
  const nf = meta.node_fields.length;
  const ef = meta.edge_fields.length;
  check.equal(snap.nodes.length, snap.snapshot.node_count * nf, 'node count agrees');
  check.equal(snap.edges.length, snap.snapshot.edge_count * ef, 'edge count agrees');
  const ec = meta.node_fields.indexOf('edge_count');
  const nameField = meta.node_fields.indexOf('name');
  let edges = 0;
  let named = 0;
  const objName = snap.strings.indexOf('Object');
  for (let i = 0; i < snap.nodes.length; i += nf) {
    edges += snap.nodes[i + ec];
    if (snap.nodes[i + nameField] === objName) named++;
  }
  check.equal(edges, snap.snapshot.edge_count, 'the nodes\' edge counts add up');
  const to = meta.edge_fields.indexOf('to_node');
  let bad = 0;
  for (let i = to; i < snap.edges.length; i += ef) {
    const t = snap.edges[i];
    if (t % nf !== 0 || t >= snap.nodes.length) bad++;
  }
  check.equal(bad, 0, 'every edge points at a node');
  check.ok(snap.strings.indexOf(marker) >= 0, 'the marker string is in the strings');
  check.ok(snap.strings.indexOf('obj399999') >= 0, 'the last object\'s name is in the strings');
  check.ok(named >= 400000, 'the 400,000 objects are nodes (' + named + ')');
}
tarn.sim.removePath('/opt/usr/apps/snapshots/large.heapsnapshot');
check.done();
