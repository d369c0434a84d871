// A bus that dies while subscribed: the process goes on (the connection is
// not allowed to end it), the installer signal fails with ret = 0, and
// registering and unregistering again answer true without GLib warnings
// (the harness checks standard error).
tarn.load('lib/check.js');
tarn.load('lib/bus.js');

const q = new QDUtil();
const lines = () => tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge').map((r) => r.text);
const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

async function main() {
  check.equal(q.registerRecentChanged(), true, 'registered');
  let subscribed = false;
  for (let i = 0; i < 40 && !subscribed; i++) {
    try {
      await bus.ack(500);
      subscribed = true;
    } catch (e) {
      // not yet
    }
  }
  check.ok(subscribed, 'the subscription took effect');
  await bus.emit('RecentChanged', bus.str('before'));
  check.sameJson(bus.take().map((e) => [e.code, e.json]), [[0, 'before']], 'a signal before the bus dies');

  bus.kill();
  tarn.log.capture();
  let closed = false;
  for (let i = 0; i < 200 && !closed; i++) {
    await pause(25);
    q.sendMessageTRT();
    closed = lines().includes('[TARN] Send Message for TRT-Installer ret = 0');
  }
  check.ok(closed, 'once the bus is gone the installer signal fails (ret = 0)');
  check.equal(q.sendMessageTRT(), true, 'and sendMessageTRT still answers true');
  check.equal(q.unregisterRecentChanged(), true, 'unregistering from a dead bus answers true');
  check.equal(q.unregisterRecentChanged(), true, 'twice');
  check.equal(q.registerRecentChanged(), true, 'registering with no bus left answers true');
  lines();
  q.sendMessageTRT();
  check.sameJson(lines().filter((t) => /TRT/.test(t)), ['[TARN] Send Message for TRT-Installer ret = 0'],
                 'nothing can be sent');
  check.equal(q.unregisterRecentChanged(), true, 'unregistered');
  tarn.log.stop();
  await pause(200);
  check.sameJson(bus.take(), [], 'no event after the bus died');
  bus.close();
  check.done();
}

main().catch((e) => {
  console.error('FAIL ' + (e && e.stack || e));
  tarn.exit(1);
});
