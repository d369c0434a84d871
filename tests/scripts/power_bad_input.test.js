// Hostile arguments to the time and power methods: missing, extra and
// ill-typed arguments give the neutral results; throwing valueOf, getters and
// Proxy traps, Symbols and BigInt either give the script its own exception
// or are never converted, and the platform is not called after a failed
// conversion. Nothing crashes.
tarn.load('lib/check.js');

const q = new QDUtil();
function fresh() {
  tarn.sim.reset();
  tarn.sim.clearForcedResults();
  tarn.sim.clearJournal();
}
const boom = {valueOf() { throw new Error('valueOf boom'); }};
const getterBoom = Object.defineProperty({}, Symbol.toPrimitive, {get() { throw new Error('getter boom'); }});
const proxyBoom = new Proxy({}, {get() { throw new Error('trap boom'); }});

function ownException(fn, message, what) {
  let caught;
  try {
    fn();
  } catch (e) {
    caught = e;
  }
  check.ok(caught !== undefined, what + ': throws');
  if (caught !== undefined) check.equal(caught.message, message, what + ': the script\'s own exception');
}

// qd_settimeofday reads numbers.
fresh();
ownException(() => q.qd_settimeofday(boom, 0, 0), 'valueOf boom', 'qd_settimeofday with a throwing valueOf');
ownException(() => q.qd_settimeofday(1, getterBoom, 0), 'getter boom', 'with a throwing getter');
ownException(() => q.qd_settimeofday(1, 2, proxyBoom), 'trap boom', 'with a throwing Proxy');
check.throws(() => q.qd_settimeofday(Symbol('s'), 0, 0), 'Cannot convert a Symbol value to a number',
             'a Symbol');
check.throws(() => q.qd_settimeofday(1n, 0, 0), 'Cannot convert a BigInt value to a number', 'a BigInt');
check.equal(tarn.sim.journal('qd_settimeofday').length, 0, 'no clock call after a failed conversion');
check.equal(q.qd_settimeofday(boom, 0), -1, 'two arguments: -1 before anything is converted');
check.equal(q.qd_settimeofday({}, [], 'x'), 0, 'objects and texts convert to NaN or 0, then pass 0');
check.sameJson(tarn.sim.journal('qd_settimeofday').map((c) => c.arguments), [[0, 0, 0]],
               'NaN passes 0');
check.equal(q.qd_settimeofday(Infinity, -Infinity, 1e300), 0, 'infinities and huge numbers pass 0');

// Methods that read no argument ignore hostile ones.
for (const name of ['qd_gettimeofday', 'qd_localtime', 'qd_gettimezone', 'getDuration', 'getSmartTime',
                    'getSessionTime', 'registerWakeUp', 'unregisterWakeUp', 'registerLateWakeUp',
                    'unregisterLateWakeUp', 'registerSuspend', 'unregisterSuspend', 'getWakeupReason',
                    'poweroff', 'powerStanby', 'powerNormal', 'pictureOff', 'checkPowerState']) {
  let result;
  try {
    result = q[name](boom, Symbol('x'), 5n, proxyBoom, getterBoom);
    check.ok(result !== undefined, name + ' ignores hostile arguments');
  } catch (e) {
    check.ok(false, name + ' threw ' + e.message);
  }
}
q.unregisterWakeUp();
q.unregisterLateWakeUp();
q.unregisterSuspend();

// Numbers of the power commands.
fresh();
ownException(() => q.setWelcomeScreen(boom, false), 'valueOf boom', 'setWelcomeScreen with a throwing mode');
check.equal(tarn.sim.journal('setWelcomeMode').length, 0, 'no welcome-mode call then');
check.throws(() => q.getPowerKeyPressCount(Symbol('c')), 'Cannot convert a Symbol value to a number',
             'getPowerKeyPressCount with a Symbol');
ownException(() => q.getPowerKeyPressCount(proxyBoom), 'trap boom', 'getPowerKeyPressCount with a Proxy');
check.equal(tarn.sim.journal('controlPowerKeyPressCount').length, 0, 'no press-count call then');
check.equal(q.getPowerKeyPressCount('1'), tarn.sim.get('power.powerKeyPressCount'), 'a text "1" reads the count');
check.equal(q.setWelcomeScreen(), true, 'no argument: mode 0 (value 1), not skipped');
check.sameJson(tarn.sim.journal('setWelcomeMode').map((c) => c.arguments), [[1]], 'passes 1');

// Flags convert by ToBoolean, which runs no script.
fresh();
tarn.sim.set('power.prePower', 0);
check.equal(q.setPrePowerKey(proxyBoom), true, 'a Proxy is true: sets the key on');
check.equal(q.TVAudioMute(Symbol('m')), true, 'a Symbol is true: mutes');
check.equal(tarn.sim.get('av.audioMute'), true, 'muted');
check.equal(q.TVAudioMute(0n), true, '0n is false: unmutes');
check.equal(tarn.sim.get('av.audioMute'), false, 'unmuted');
check.equal(q.TVVideoMute(), true, 'no argument: unmute');
check.equal(q.setWelcomeScreen(3, boom), true, 'a skip flag object is true, never converted');
check.equal(tarn.sim.journal('setWelcomeMode').length, 0, 'skipped');

check.done();
