// Volume of the Bluetooth hand-off: 10,000 bonded devices each reach the
// stored function exactly once, in enumeration order, one record per idle
// call; replacing the function while records wait sends the rest to the new
// one. (The sanitized build checks that every record is freed once.)
tarn.load('lib/check.js');

const q = new QDUtil();
const N = 10000;

function address(i) {
  const hex = (0x100000 + i).toString(16).toUpperCase();  // six hex digits, unique
  return 'F0:00:' + hex.slice(0, 2) + ':' + hex.slice(2, 4) + ':' + hex.slice(4, 6) + ':01';
}
const devices = [];
for (let i = 0; i < N; i++) {
  devices.push({ address: address(i), name: 'Device \u00e9 ' + i, bonded: true, connected: i % 2 === 0,
                 vid: i % 65536, pid: (i * 7) % 65536 });
}

function waitFor(cond, ms, what) {
  const deadline = Date.now() + ms;
  return new Promise((resolve, reject) => {
    (function poll() {
      if (cond()) return resolve();
      if (Date.now() > deadline) return reject(new Error('timed out waiting for ' + what));
      setTimeout(poll, 10);
    })();
  });
}
const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

async function main() {
  tarn.sim.set('bluetooth.devices', devices);
  check.equal(q.initializeBlueTooth(), 0, 'stack up');

  // Every device once, in order.
  {
    const got = [];
    tarn.log.capture();
    check.equal(q.getBlueToothDevice((d) => got.push(d)), 0, 'enumeration of 10,000 devices');
    check.equal(got.length, 0, 'none delivered inside the call');
    await waitFor(() => got.length >= N, 60000, N + ' deliveries');
    await pause(100);
    const fired = tarn.log.take().filter((r) => r.text === '[Tarn] [bt] FireOnCallbacks').length;
    tarn.log.stop();
    check.equal(got.length, N, 'exactly one call per device');
    check.equal(fired, N, 'one idle call per record');
    let inOrder = true;
    let intact = true;
    for (let i = 0; i < got.length; i++) {
      const d = got[i];
      if (d.remoteAddress !== address(i)) inOrder = false;
      if (d.remoteName !== 'Device \u00e9 ' + i || d.isConnected !== (i % 2 === 0) || d.isBonded !== true ||
          d.vid !== i % 65536 || d.pid !== (i * 7) % 65536) {
        intact = false;
      }
    }
    check.ok(inOrder, 'in enumeration order, none twice');
    check.ok(intact, 'each device\'s fields intact');
    check.equal(tarn.sim.journal('report.bondedDevice').length, N, 'the stack reported each device once');
  }

  // Replace the function after 4,321 deliveries: the rest go to the new one.
  {
    const K = 4321;
    const first = [];
    const second = [];
    const replacement = (d) => second.push(d.remoteAddress);
    q.getBlueToothDevice((d) => {
      first.push(d.remoteAddress);
      if (first.length === K) {
        // An enumeration of no devices only replaces the stored function.
        tarn.sim.set('bluetooth.devices', []);
        check.equal(q.getBlueToothDevice(replacement), 0, 'replacing while records are queued');
      }
    });
    await waitFor(() => first.length + second.length >= N, 60000, N + ' deliveries');
    await pause(100);
    check.equal(first.length, K, 'the first function got the records before the replacement');
    check.equal(second.length, N - K, 'the new function got all the rest');
    check.ok(first.every((a, i) => a === address(i)), 'first part in order');
    check.ok(second.every((a, i) => a === address(K + i)), 'rest in order, none lost or repeated');
  }

  check.done();
}

main().catch((e) => {
  console.error('FAIL ' + (e && e.stack || e));
  tarn.exit(1);
});
