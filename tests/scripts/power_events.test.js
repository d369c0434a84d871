// Power life-cycle subscriptions: what each register and unregister method
// asks of the power service and answers, and the interrupt events a script
// receives when the simulated set wakes up, powers off or changes its power
// state, with the callbacks' log lines and trace markers. Notifications come
// from the simulator's own thread; the events reach the script on its thread.
tarn.load('lib/check.js');

const q = new QDUtil();
const BRIDGE = 'tarn.qdutil.bridge';
const SUSPEND = 0x1009009E, FACTORY_RESET = 0x1009009F, SERVICE_RESET = 0x100900A0;
const WAKEUP = 0x100900A4, LATE_WAKEUP = 0x100900A5, STANDBY = 0x100900AA;

const events = [];
function onInterrupt(code, args) {
  events.push({code, args: JSON.stringify(args)});
}
tarn.on('interrupt', onInterrupt);

function lines() {
  return tarn.log.take().filter((r) => r.logger === BRIDGE).map((r) => [r.level, r.text]);
}
function fresh() {
  tarn.sim.clearForcedResults();
  tarn.sim.clearJournal();
  tarn.log.take();
  events.length = 0;
}
const tick = () => new Promise((resolve) => setTimeout(resolve, 5));
// Lets every fired notification reach the bridge, then lets the engine's
// queue deliver what the callbacks sent.
async function settle() {
  check.ok(tarn.sim.waitForNotifications(5000), 'notifications delivered');
  for (let i = 0; i < 4; i++) await tick();
}
const W = '[TARN] >>>>>>>>>>>>>>>> ';

async function main() {
  tarn.log.capture();

  // --- Registration -------------------------------------------------------
  fresh();
  check.equal(q.unregisterWakeUp(), true, 'unregisterWakeUp with nothing subscribed: true');
  check.equal(q.unregisterLateWakeUp(), true, 'unregisterLateWakeUp with nothing subscribed: true');
  check.equal(q.unregisterSuspend(), true, 'unregisterSuspend with nothing subscribed: true');
  check.sameJson(tarn.sim.journal('TvPowerClient').map((c) => [c.operation, c.arguments, c.result]),
                 [['unsubscribePreWakeup', [null], -3], ['unsubscribeWakeup', [null], -3],
                  ['unsubscribePowerOff', [null], -3]],
                 'each unregister names its own event, with a null callback, and ignores the error');
  check.sameJson(lines(), [], 'unregistering logs nothing');
  tarn.sim.clearJournal();

  check.equal(q.registerWakeUp(), true, 'registerWakeUp: true');
  check.equal(q.registerLateWakeUp(), true, 'registerLateWakeUp: true');
  check.equal(q.registerSuspend(), true, 'registerSuspend: true');
  check.equal(q.registerPowerChanged(), true, 'registerPowerChanged: true');
  const subs = tarn.sim.journal('TvPowerClient');
  check.sameJson(subs.map((c) => c.operation),
                 ['subscribePreWakeup', 'subscribeWakeup', 'subscribePowerOff', 'subscribeStateChanged'],
                 '"WakeUp" is the pre-wake-up, "LateWakeUp" the wake-up');
  check.ok(subs.slice(0, 3).every((c) => c.arguments[1] !== null), 'the runtime is the user datum');
  check.equal(subs[3].arguments[1], null, 'the power-state subscription has no user datum');
  check.sameJson(lines(), [[2, W + 'Success to Unsubscribe wakeup\n'],
                           [2, W + 'Success to Unsubscribe late wakeup\n'],
                           [3, '[HandleRegisterPowerChanged] done']],
                 'success lines (suspend writes none)');
  q.unregisterWakeUp();
  q.unregisterLateWakeUp();
  q.unregisterSuspend();
  check.equal(q.unregisterWakeUp(), true, 'unregistering twice is still true');

  fresh();
  for (const op of ['subscribePreWakeup', 'subscribeWakeup', 'subscribePowerOff']) tarn.sim.forceResult(op, -1);
  tarn.sim.forceResult('subscribeStateChanged', -1);
  check.equal(q.registerWakeUp(), false, 'registerWakeUp fails on a negative result');
  check.equal(q.registerLateWakeUp(), false, 'registerLateWakeUp fails on a negative result');
  check.equal(q.registerSuspend(), false, 'registerSuspend fails on a negative result');
  check.equal(q.registerPowerChanged(), false, 'registerPowerChanged fails on a negative result');
  check.sameJson(lines(), [[2, W + 'Failed to Unsubscribe wakeup\n'],
                           [2, W + 'Failed to Unsubscribe late wakeup\n'],
                           [2, W + 'Failed to Subscribe Poweroff\n'],
                           [3, '[HandleRegisterPowerChanged] error']], 'failure lines');
  for (const op of ['subscribePreWakeup', 'subscribeWakeup', 'subscribePowerOff']) tarn.sim.forceResult(op, 7);
  tarn.sim.forceResult('subscribeStateChanged', 1);
  check.equal(q.registerWakeUp(), true, 'a positive result is success for registerWakeUp');
  check.equal(q.registerLateWakeUp(), true, 'and for registerLateWakeUp');
  check.equal(q.registerSuspend(), true, 'and for registerSuspend');
  check.equal(q.registerPowerChanged(), false, 'but registerPowerChanged needs exactly 0');
  check.equal(lines().pop()[1], '[HandleRegisterPowerChanged] error', 'logged as an error');

  // --- Wake-up ----------------------------------------------------------------
  q.registerWakeUp();
  q.registerLateWakeUp();
  q.registerSuspend();
  // The power-state subscription made above stays: there is no unregister.
  tarn.sim.fire('powerState', 2);
  await settle();
  fresh();
  tarn.sim.fire('wakeup', 9);
  await settle();
  check.sameJson(events.map((e) => e.code), [WAKEUP, LATE_WAKEUP],
                 'wake-up from standby: early then late wake-up (state 0 is not standby)');
  check.ok(events.every((e) => e.args === '{}'), 'with empty argument maps');
  check.sameJson(lines(), [[2, W + 'Engine On_Wake_Up Call!'], [2, 'Failed to Unsubscribe Poweroff\n'],
                           [2, W + 'Engine On_LateWake_Up Call!'], [2, 'Failed to Unsubscribe Late Poweroff\n'],
                           [3, '[onPowerChanged]']],
                 'the callbacks\' lines, closing lines included');
  check.sameJson(tarn.sim.journal('prctl').map((c) => c.arguments),
                 [[666, '------------------TARN WAKEUP------------------', 47],
                  [666, '------------------TARN LATEWAKEUP------------------', 51]],
                 'a trace marker with its length on each wake-up');
  const notified = tarn.sim.journal('tvsim').filter((c) => c.operation.startsWith('notify.'));
  const callbackThread = tarn.sim.journal('prctl')[0] && tarn.sim.journal('prctl')[0].thread;
  check.ok(notified.length >= 2 && notified.every((c) => c.simulatorThread), 'notified on the simulator\'s thread');
  check.equal(q.getWakeupReason(), 9, 'getWakeupReason passes the reason through');
  check.ok(tarn.sim.journal('getWakeupReason')[0].thread !== callbackThread,
           'the callbacks ran off the script thread, the listener on it');

  // --- Power-off notices --------------------------------------------------------
  const notices = [
    [0x40000000 | 14, [SUSPEND], [W + 'Engine On_Suspend Call! ', W + 'Engine On_Suspend Call! ON_SUSPEND '],
     'suspend bit with low bits 14: the suspend event only'],
    [0x40000000, [SUSPEND], [W + 'Engine On_Suspend Call! ', W + 'Engine On_Suspend Call! ON_SUSPEND '], 'suspend'],
    [14, [FACTORY_RESET], [W + 'Engine On_Suspend Call! ', W + 'Engine On_Suspend Call! ON_FACTORY_RESET'],
     'reason 14: factory reset'],
    [13, [SERVICE_RESET], [W + 'Engine On_Suspend Call! ', W + 'Engine On_Suspend Call! ON_SERVICE_RESET'],
     'reason 13: service reset'],
    [0, [], [W + 'Engine On_Suspend Call! '], 'reason 0: only the first line'],
    [15, [], [W + 'Engine On_Suspend Call! '], 'reason 15: only the first line'],
  ];
  for (const [reason, codes, texts, what] of notices) {
    tarn.sim.fire('powerState', 0);
    await settle();
    fresh();
    tarn.sim.fire('powerOff', reason);
    await settle();
    check.sameJson(events.map((e) => e.code), codes, what + ': events');
    check.sameJson(lines().filter((l) => l[1] !== '[onPowerChanged]'), texts.map((t) => [2, t]), what + ': lines');
    check.equal(tarn.sim.journal('prctl').length, 0, what + ': no trace marker on power-off');
  }

  // --- Power-state changes --------------------------------------------------------
  for (const state of [0, 1, 3, 2]) {
    tarn.sim.fire('powerState', state === 0 ? 1 : 0);
    await settle();
    fresh();
    tarn.sim.fire('powerState', state);
    await settle();
    const stateLines = lines().filter((l) => l[1].startsWith('[onPowerChanged]'));
    if (state === 2) {
      check.sameJson(events.map((e) => e.code), [STANDBY], 'state 2: exactly one standby event');
      check.sameJson(stateLines, [[3, '[onPowerChanged]'], [3, '[onPowerChanged] Power State is changed to Standby!']],
                     'state 2: both detail lines');
    } else {
      check.sameJson(events.filter((e) => e.code === STANDBY), [], 'state ' + state + ': no standby event');
      check.sameJson(stateLines, [[3, '[onPowerChanged]']], 'state ' + state + ': only "[onPowerChanged]"');
    }
  }

  // --- After unregistering --------------------------------------------------------
  q.unregisterWakeUp();
  q.unregisterLateWakeUp();
  q.unregisterSuspend();
  tarn.sim.fire('powerState', 0);
  await settle();
  fresh();
  tarn.sim.fire('wakeup');
  tarn.sim.fire('powerOff', 0x40000000);
  await settle();
  check.sameJson(events.map((e) => e.code), [], 'no wake-up or suspend event once unregistered');

  // --- Registering twice subscribes twice -----------------------------------------
  check.equal(q.registerPowerChanged(), true, 'a second power-state subscription');
  tarn.sim.fire('powerState', 0);
  await settle();
  fresh();
  tarn.sim.fire('powerState', 2);
  await settle();
  check.sameJson(events.map((e) => e.code), [STANDBY, STANDBY], 'the bridge does not guard: two events');

  // --- getWakeupReason ---------------------------------------------------------------
  tarn.sim.set('power.wakeupReason', 123);
  check.equal(q.getWakeupReason('x', 1), 123, 'getWakeupReason answers the set\'s reason');
  tarn.sim.forceResult('getWakeupReason', -7);
  check.equal(q.getWakeupReason(), -7, 'a negative number passes unchanged');

  tarn.off('interrupt', onInterrupt);
  tarn.log.stop();
  check.done();
}

main().catch((e) => {
  console.error(e && e.stack || e);
  tarn.exit(1);
});
