// A short tour of the simulated TV, for script developers: its state, the
// journal of platform calls, a forced failure and a fired event.
//   build/bin/tarn-run examples/simulator-tour.js
const q = new QDUtil();

// 1. State: one JSON document. Read a member, change it, and the bridge sees
//    the change at once.
console.log('panel height:', tarn.sim.get('display.height'), '->', q.getResolution());
tarn.sim.set('power.wakeupReason', 3);
console.log('wake-up reason after set:', q.getWakeupReason());

// 2. The journal: every platform call the bridge made, with its arguments
//    and result, by operation, library or both.
tarn.sim.clearJournal();
q.getWakeupReason();
const call = tarn.sim.journal('getWakeupReason')[0];
console.log('journaled:', call.library + '.' + call.operation, '->', call.result);

// 3. A forced result: the next call of that operation answers the given
//    value, so a script can see how the bridge handles a failing set.
tarn.sim.forceResult('libc.gettimeofday', -1);
console.log('qd_gettimeofday() with the clock failing:', q.qd_gettimeofday());
console.log('and once more, with the clock back:', q.qd_gettimeofday() > 0);

// 4. A fired event: the simulator sends it from its own thread, as the set's
//    power service would, and the bridge hands it to the script thread.
q.registerWakeUp();
tarn.on('interrupt', function onInterrupt(code) {
  console.log('interrupt 0x' + code.toString(16).toUpperCase(), 'after fire("wakeup")');
  tarn.off('interrupt', onInterrupt);
});
tarn.sim.fire('wakeup');

// 5. A mistyped name is an error that says what was meant.
try {
  tarn.sim.journal('getWakeupReasn');
} catch (e) {
  console.log('typo:', e.message.split(';')[0]);
}
