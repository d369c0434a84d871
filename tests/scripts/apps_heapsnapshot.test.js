// Heap snapshots: the file opens as a developer-tools heap snapshot (its
// meta, nodes, edges and strings agree), lands in the app's data folder
// under a name of seconds and microseconds by default, and a path that
// cannot be opened answers false after the snapshot was taken.
tarn.load('lib/check.js');

const q = new QDUtil();
const root = tarn.sim.root();
tarn.log.capture();
function lines() {
  return tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge');
}
function textOf(bytes) {
  let s = '';
  for (let i = 0; i < bytes.length; i += 8192)
    s += String.fromCharCode.apply(null, bytes.subarray(i, i + 8192));
  return s;
}
// Checks the snapshot's parts against each other; the marker must be among
// its strings.
function checkSnapshot(bytes, marker, what) {
  if (!check.ok(bytes !== null && bytes.length > 0, what + ': the file has content')) return;
  let snap = null;
  try {
    snap = JSON.parse(textOf(bytes));
  } catch (e) {
    check.ok(false, what + ': parses as JSON (' + e.message + ')');
    return;
  }
  const meta = snap.snapshot && snap.snapshot.meta;
  if (!check.ok(meta && Array.isArray(meta.node_fields) && Array.isArray(meta.edge_fields),
                what + ': snapshot.meta names the node and edge fields')) {
    return;
  }
  const nf = meta.node_fields.length;
  const ef = meta.edge_fields.length;
  check.equal(snap.nodes.length, snap.snapshot.node_count * nf, what + ': node count agrees');
  check.equal(snap.edges.length, snap.snapshot.edge_count * ef, what + ': edge count agrees');
  const edgeCountField = meta.node_fields.indexOf('edge_count');
  const nameField = meta.node_fields.indexOf('name');
  const toNode = meta.edge_fields.indexOf('to_node');
  let edges = 0;
  let badName = 0;
  for (let i = 0; i < snap.nodes.length; i += nf) {
    edges += snap.nodes[i + edgeCountField];
    if (snap.nodes[i + nameField] >= snap.strings.length) badName++;
  }
  check.equal(edges, snap.snapshot.edge_count, what + ': the nodes\' edge counts add up');
  check.equal(badName, 0, what + ': every node name is a string of the table');
  let badEdges = 0;
  for (let i = toNode; i < snap.edges.length; i += ef) {
    const to = snap.edges[i];
    if (to % nf !== 0 || to < 0 || to >= snap.nodes.length) badEdges++;
  }
  check.equal(badEdges, 0, what + ': every edge points at a node');
  check.ok(snap.strings.indexOf(marker) >= 0, what + ': the marker string is in the strings');
  check.ok(snap.snapshot.node_count > 1000, what + ': a real heap (' + snap.snapshot.node_count + ' nodes)');
}

const marker = ['heap', 'marker', Date.now().toString(36), 'apps'].join('-');
globalThis.kept = { text: marker };

// --- an explicit path ----------------------------------------------------------
tarn.sim.makeFolder('/opt/usr/apps/snapshots');
lines();
check.equal(q.heapSnapshot('/opt/usr/apps/snapshots/one.heapsnapshot'), true, 'written');
check.equal(lines().map((r) => r.text).join('|'),
            'Saving HeapSnapShot to /opt/usr/apps/snapshots/one.heapsnapshot', 'logs the path');
checkSnapshot(tarn.sim.readFile('/opt/usr/apps/snapshots/one.heapsnapshot'), marker, 'explicit path');

// --- the default name ----------------------------------------------------------
tarn.sim.clearJournal();
check.equal(q.heapSnapshot(), true, 'no argument: written');
check.equal(q.heapSnapshot(), true, 'again');
const saved = lines().map((r) => r.text);
check.equal(saved.length, 2, 'one line per snapshot');
const dataDir = root + '/opt/usr/apps/tarnapps/apps_temp/org.tarn.apps';
const pattern = /^Saving HeapSnapShot to (.*)\/heapdump-(\d+)-(\d+)\.heapsnapshot$/;
const first = pattern.exec(saved[0]);
const second = pattern.exec(saved[1]);
if (check.ok(first && second, 'named heapdump-SECONDS-MICROSECONDS: ' + saved.join(' / '))) {
  check.equal(first[1], dataDir, 'in the app\'s data folder');
  const clock = tarn.sim.journal('gettimeofday');
  check.equal(clock.length, 2, 'the time is read once per snapshot');
  check.ok(Math.abs(Number(first[2]) - Date.now() / 1000) < 60, 'seconds of now');
  check.ok(Number(first[3]) < 1000000, 'microseconds below a million');
  check.ok(first[2] !== second[2] || first[3] !== second[3],
           'two snapshots in the same second differ by the microseconds');
  checkSnapshot(tarn.sim.readFile(saved[1].substring(saved[1].indexOf(root) + root.length)), marker,
                'default name');
}
// The set's clock gives the name: a fixed wall time (whole seconds), and a
// clock that fails leaves the zeroed time.
tarn.sim.set('clock.wallTime', 1700000000);
check.equal(q.heapSnapshot(), true, 'fixed clock: written');
tarn.sim.set('clock.wallTime', null);
tarn.sim.set('clock.failing', ['gettimeofday']);
check.equal(q.heapSnapshot(), true, 'failing clock: written');
tarn.sim.set('clock.failing', []);
check.sameJson(lines().map((r) => r.text),
               ['Saving HeapSnapShot to ' + dataDir + '/heapdump-1700000000-0.heapsnapshot',
                'Saving HeapSnapShot to ' + dataDir + '/heapdump-0-0.heapsnapshot'],
               'names from the set\'s clock');
check.ok(tarn.sim.readFile('/opt/usr/apps/tarnapps/apps_temp/org.tarn.apps/heapdump-0-0.heapsnapshot')
             .length > 0, 'written under that name');

// --- failures ------------------------------------------------------------------
check.equal(q.heapSnapshot('/no/such/folder/x.heapsnapshot'), false, 'a folder that does not exist');
check.equal(lines().map((r) => r.text).join('|'), 'Saving HeapSnapShot to /no/such/folder/x.heapsnapshot',
            'the path is logged before the failure');
check.equal(q.heapSnapshot('/opt/usr/apps/snapshots'), false, 'a folder as the file');
check.equal(q.checkExistFile('/no/such/folder'), 0, 'nothing made');
check.equal(q.heapSnapshot(''), false, 'an empty path');

check.done();
