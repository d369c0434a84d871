// The routes from platform threads to the script thread, driven by a test
// bridge ("HandoffProducer") whose own threads queue Bluetooth device records
// through the QDUtil bridge's hand-off and send engine events and dispatcher
// tasks. Records reach the function that is stored when they are delivered,
// one call each, in order, and are freed whatever the callback's state.
tarn.load('lib/check.js');

const p = new HandoffProducer();
const BRIDGE = 'tarn.qdutil.bridge';
const tick = () => new Promise((resolve) => setTimeout(resolve, 5));
async function until(condition, ms) {
  const end = Date.now() + ms;
  while (!condition() && Date.now() < end) await tick();
  return condition();
}
async function quiet() {
  for (let i = 0; i < 10; i++) await tick();
}
function lines() {
  return tarn.log.take().filter((r) => r.logger === BRIDGE).map((r) => [r.level, r.text]);
}
const FIRE = [2, '[Tarn] [bt] FireOnCallbacks'];
const NOT_NULL = [3, '[Tarn] [bt] js_callback.isNull'];
const IS_FUNCTION = [2, '[Tarn] [bt] js_callback.isFunction'];

async function main() {
  tarn.log.capture();

  // --- Before any function is set: freed, nothing called ----------------------
  p.queueDevices(3, 4);
  p.join();
  await quiet();
  check.sameJson(lines(), [FIRE, FIRE, FIRE], 'records with no function: only the first line each');

  // --- A function receives one call per record, in order ------------------------
  const got = [];
  p.setCallback(function (...args) { got.push({args, self: this}); });
  p.queueDevices(5, 3);
  p.join();
  check.ok(await until(() => got.length === 5, 5000), 'five records, five calls');
  check.ok(got.every((g) => g.args.length === 1), 'each call has one argument');
  check.sameJson(got.map((g) => g.args[0]),
                 [0, 1, 2, 3, 4].map((i) => ({remoteAddress: 'DEV-' + i, remoteName: 'nnn', isBonded: i % 2 === 0,
                                              isConnected: i % 2 === 1, vid: i, pid: 5 - i})),
                 'device objects with exactly these properties, in this order, in the order queued');
  check.equal(typeof got[0].args[0].vid, 'number', 'ids are numbers');
  check.sameJson(lines(), [].concat(...Array(5).fill([FIRE, NOT_NULL, IS_FUNCTION])), 'three lines per record');

  // --- An empty name is the empty text -----------------------------------------------
  got.length = 0;
  p.queueDevices(1, 0);
  p.join();
  await until(() => got.length === 1, 5000);
  check.equal(got.length && got[0].args[0].remoteName, '', 'an empty name gives "", not null');

  // --- Records waiting when the function is replaced go to the new one ----------
  const first = [];
  const second = [];
  p.setCallback((d) => first.push(d.vid));
  p.queueDevices(200, 1);
  p.join();  // all 200 queued, none delivered yet: the script thread is busy here
  p.setCallback((d) => second.push(d.vid));
  await until(() => second.length === 200, 5000);
  check.equal(first.length, 0, 'the replaced function receives nothing');
  check.equal(second.length, 200, 'the new function receives every waiting record');
  check.ok(second.every((v, i) => v === i), 'in the order queued');

  // --- A non-function value: freed after two lines --------------------------------------
  lines();
  p.setCallback(42);
  p.queueDevices(2, 1);
  p.join();
  await quiet();
  check.sameJson(lines(), [FIRE, NOT_NULL, FIRE, NOT_NULL], 'a number as callback: two lines, no call');
  p.setCallback(null);

  // --- A throwing function does not stop the queue --------------------------------------
  let thrown = 0;
  p.setCallback(() => { thrown++; throw new Error('callback failed'); });
  p.queueDevices(3, 1);
  p.join();
  // An uncaught error in a function a bridge calls ends the run in this host,
  // so the throwing case is left to the engine; the callback is reset here.
  p.setCallback(null);
  await quiet();
  check.equal(thrown, 0, 'records delivered after the reset find no function');
  tarn.log.stop();

  // --- Every record is freed exactly once: the heap returns ------------------------------
  await quiet();
  const before = p.heapInUse();
  for (const state of [null, 7, (d) => d]) {
    p.setCallback(state);
    p.queueDevices(2000, 4096);  // 8 MB of names per batch
    p.join();
    await quiet();
    await quiet();
  }
  const after = p.heapInUse();
  check.ok(after - before < 2 * 1024 * 1024,
           'the heap returns after 6000 records of 4 kB (grew by ' + (after - before) + ' bytes)');

  // --- Engine events, interrupt events and tasks from a foreign thread --------------------
  const seen = [];
  const onEvent = (code, args) => seen.push(['event', code, args.i]);
  const onInterrupt = (code, args) => seen.push(['interrupt', code, args.i]);
  tarn.on('event', onEvent);
  tarn.on('interrupt', onInterrupt);
  p.setTaskCallback((value) => seen.push(['task', value, String(value - 3000)]));
  const N = 3000;
  p.send(N);
  p.join();
  check.equal(seen.length, 0, 'nothing is delivered inside the sender or before the script thread turns');
  await until(() => seen.length === N, 10000);
  const expected = [];
  for (let i = 0; i < N; i++) {
    if (i % 3 === 0) expected.push(['event', 1000 + i, String(i)]);
    else if (i % 3 === 1) expected.push(['interrupt', 2000 + i, String(i)]);
    else expected.push(['task', 3000 + i, String(i)]);
  }
  check.sameJson(seen, expected, 'events, interrupts and tasks arrive once each, in the order sent');
  check.equal(p.tasksOffScriptThread(), 0, 'every task ran on the script thread');
  tarn.off('event', onEvent);
  tarn.off('interrupt', onInterrupt);
  p.setTaskCallback(null);

  check.done();
}

main().catch((e) => {
  console.error(e && e.stack || e);
  tarn.exit(1);
});
