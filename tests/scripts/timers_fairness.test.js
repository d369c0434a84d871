// Timers follow node's rules for their delay, so a script that polls with
// setTimeout(f, 0) leaves the loop time for its idle work: Bluetooth devices
// (idle calls at priority 150) and power interrupts (fired from the simulated
// TV's thread) are delivered while the poll goes on, within a bounded time,
// and the process stays within a bounded size.
tarn.load('lib/check.js');

const q = new QDUtil();
const now = () => Date.now();

// The delays node would use, seen through the order in which timers run:
// each delay below 1 (and NaN, a non-number text) is 1 ms, and one above
// 2^31 - 1 is 1 ms as well; a numeric text or an object converts as
// arithmetic converts it. Those due first are set first, so that a slow
// start cannot reorder them.
function delays() {
  const order = [];
  return new Promise((resolve) => {
    setTimeout(() => order.push('huge'), 2 ** 40);
    setTimeout(() => order.push('NaN'), NaN);
    setTimeout(() => order.push('-5'), -5);
    setTimeout(() => order.push('text'), 'soon');
    setTimeout(() => order.push('none'));
    setTimeout(() => order.push('"50"'), '50');
    setTimeout(() => order.push('object'), { valueOf: () => 100 });
    setTimeout(() => order.push('150'), 150);
    setTimeout(() => resolve(order), 400);
  });
}

// How many times a setTimeout(0) chain runs in `ms`.
function chainRate(ms) {
  return new Promise((resolve) => {
    const end = now() + ms;
    let runs = 0;
    (function poll() {
      runs++;
      if (now() < end) setTimeout(poll, 0);
      else resolve(runs);
    })();
  });
}

async function main() {
  check.sameJson(await delays(), ['huge', 'NaN', '-5', 'text', 'none', '"50"', 'object', '150'],
                 'delays below 1, NaN, non-numbers and overflows are 1 ms, in the order set');
  check.throws(() => setTimeout(() => {}, Symbol('d')), 'Cannot convert a Symbol value to a number',
               'a Symbol delay throws as arithmetic does');
  check.throws(() => setTimeout(() => {}, 1n), 'Cannot convert a BigInt value to a number',
               'a BigInt delay throws');
  const rate = await chainRate(200);
  // At 1 ms apart at least, 200 ms give at most about 200 runs (node: ~180).
  check.ok(rate <= 260, 'a setTimeout(0) chain runs at most once a millisecond: ' + rate);

  // --- idle work while a setTimeout(0) poll runs ----------------------------
  q.initializeBlueTooth();
  q.registerWakeUp();
  q.registerLateWakeUp();
  let devices = 0;
  let interrupts = 0;
  const onInterrupt = () => interrupts++;
  tarn.on('interrupt', onInterrupt);
  const rssBefore = tarn.memoryUsage().rss;
  let calls = 0;
  let lastDelivery = now();
  let longestWait = 0;
  let seenDevices = 0;
  const end = now() + 3000;
  await new Promise((resolve) => {
    (function poll() {
      // What field scripts do between two polls: ask for the devices again
      // (each enumeration adds entries to the simulated TV's journal, which
      // grows up to its bound; the load is kept well below that.)
      q.getBlueToothDevice(() => devices++);
      calls++;
      if (calls % 50 === 0) tarn.sim.fire('wakeup', 1);
      if (devices > seenDevices) {
        seenDevices = devices;
        lastDelivery = now();
      }
      longestWait = Math.max(longestWait, now() - lastDelivery);
      if (now() < end) setTimeout(poll, 0);
      else resolve();
    })();
  });
  const queuedAtEnd = calls * 3 - devices;
  check.ok(longestWait < 500, 'devices keep arriving while the poll runs (longest gap ' +
           longestWait + ' ms)');
  check.ok(queuedAtEnd <= 3 * 4,
           'at most a few polls\' devices are still queued when it ends: ' + queuedAtEnd + ' of ' +
           calls * 3);
  check.ok(interrupts > 0, 'power interrupts arrived during the poll: ' + interrupts);
  const grown = (tarn.memoryUsage().rss - rssBefore) / 1048576;
  check.ok(grown < 64, 'the process stayed within bounds: ' + grown.toFixed(1) + ' MB more');
  tarn.sim.waitForNotifications(5000);
  await new Promise((resolve) => setTimeout(resolve, 50));
  check.equal(devices, calls * 3, 'every device was delivered');
  check.equal(interrupts, 2 * Math.floor(calls / 50), 'every wake-up reached both listeners');
  tarn.off('interrupt', onInterrupt);
  q.unregisterWakeUp();
  q.unregisterLateWakeUp();
  q.deInitializeBlueTooth();
  check.done();
}

main().catch((e) => {
  console.error('FAIL ' + (e && e.stack || e));
  tarn.exit(1);
});
