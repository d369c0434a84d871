// tarn.interrupts names the interrupt codes the power life cycle sends, and
// the codes a listener receives are those names' values.
tarn.load('lib/check.js');

check.sameJson(Object.entries(tarn.interrupts),
               [['SUSPEND', 0x1009009E], ['FACTORY_RESET', 0x1009009F],
                ['SERVICE_RESET', 0x100900A0], ['WAKEUP', 0x100900A4],
                ['LATE_WAKEUP', 0x100900A5], ['POWER_STANDBY', 0x100900AA]],
               'the six codes, by name');
check.ok(Object.isFrozen(tarn.interrupts), 'the names cannot be changed');
tarn.interrupts.WAKEUP = 1;
check.equal(tarn.interrupts.WAKEUP, 0x100900A4, 'an assignment is ignored');

const q = new QDUtil();
check.equal(q.registerWakeUp() && q.registerLateWakeUp() && q.registerSuspend() &&
            q.registerPowerChanged(), true, 'subscribed to every power event');
const names = Object.fromEntries(Object.entries(tarn.interrupts).map(([k, v]) => [v, k]));
const received = [];
tarn.on('interrupt', function listener(code) {
  received.push(names[code]);
  if (received.length < 5) return;
  check.sameJson(received, ['WAKEUP', 'LATE_WAKEUP', 'SUSPEND', 'FACTORY_RESET', 'POWER_STANDBY'],
                 'each event arrives under its name');
  tarn.off('interrupt', listener);
  check.done();
});
tarn.sim.fire('wakeup');
tarn.sim.fire('powerOff', 0x40000000);
tarn.sim.fire('powerOff', 14);
tarn.sim.fire('powerState', 2);
