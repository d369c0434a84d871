// 100,000 power notifications delivered by the simulator's own thread while
// the script keeps calling methods: every interrupt event arrives exactly
// once and in the order the set sent them.
tarn.load('lib/check.js');

const q = new QDUtil();
const SUSPEND = 0x1009009E, FACTORY_RESET = 0x1009009F, SERVICE_RESET = 0x100900A0;
const STANDBY = 0x100900AA;
const TOTAL = 100000;

check.equal(q.registerSuspend(), true, 'subscribed to power-off notices');
check.equal(q.registerPowerChanged(), true, 'subscribed to power-state changes');
tarn.sim.fire('powerState', 0);
check.ok(tarn.sim.waitForNotifications(5000), 'settled');

const received = [];
const onInterrupt = (code) => received.push(code);
const tick = () => new Promise((resolve) => setTimeout(resolve, 1));

async function main() {
  await tick();
  received.length = 0;
  tarn.on('interrupt', onInterrupt);
  // Each notification is one interrupt event: power-off notices whose reason
  // cycles through suspend, factory reset and service reset, with the set
  // already off, so no state-change notice follows.
  tarn.sim.fire('powerOff', 0x40000000);
  check.ok(tarn.sim.waitForNotifications(5000), 'the set is off');
  await tick();
  received.length = 0;
  const reasons = [0x40000000, 14, 13];
  const codes = [SUSPEND, FACTORY_RESET, SERVICE_RESET];
  const expected = [];
  let calls = 0;
  for (let i = 0; i < TOTAL; i++) {
    tarn.sim.fire('powerOff', reasons[i % 3]);
    expected.push(codes[i % 3]);
    if (i % 10 === 0) {
      // Script calls while the simulator's thread is delivering.
      q.getWakeupReason();
      q.checkPowerState();
      calls += 2;
    }
    if (i % 20000 === 19999) await tick();
  }
  const deadline = Date.now() + 50000;
  while (received.length < TOTAL && Date.now() < deadline) {
    q.qd_gettimeofday();
    calls++;
    await tick();
  }
  for (let i = 0; i < 20; i++) await tick();
  check.equal(received.length, TOTAL, 'every event arrived exactly once');
  let firstWrong = -1;
  for (let i = 0; i < TOTAL; i++) {
    if (received[i] !== expected[i]) {
      firstWrong = i;
      break;
    }
  }
  check.equal(firstWrong, -1, 'in the order sent');
  check.equal(received.filter((c) => c === STANDBY).length, 0, 'no other event');
  check.ok(calls >= 20000, 'the script called methods meanwhile (' + calls + ' calls)');
  tarn.off('interrupt', onInterrupt);
  check.done();
}

main().catch((e) => {
  console.error(e && e.stack || e);
  tarn.exit(1);
});
