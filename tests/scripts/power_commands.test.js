// Power commands against the simulated set: the platform calls each command
// makes (journal), the set's resulting state, the "[KOVA]" detail lines and
// the failure branches forced through the simulator.
tarn.load('lib/check.js');

const q = new QDUtil();
const BRIDGE = 'tarn.qdutil.bridge';

function lines() {
  return tarn.log.take().filter((r) => r.logger === BRIDGE).map((r) => [r.level, r.text]);
}
function ops(library) {
  return tarn.sim.journal(library).map((c) => [c.operation, c.arguments]);
}
function fresh() {
  tarn.sim.reset();
  tarn.sim.clearForcedResults();
  tarn.sim.clearJournal();
  tarn.log.take();
}
const detail = (...texts) => texts.map((t) => [3, t]);

tarn.log.capture();

// --- The four state switches ------------------------------------------------
const switches = [
  ['poweroff', 'requestPowerOff', [0x40000000], 'PowerOff', 3],
  ['powerStanby', 'setDevicePowerState', [2, 1], 'PowerStanby', 2],
  ['pictureOff', 'setDevicePowerState', [1, 1], 'PictureOff', 1],
  ['powerNormal', 'setPowerState', [0, 1], 'PowerNormal', 0],
];
for (const [method, operation, args, tag, state] of switches) {
  fresh();
  if (method === 'powerNormal') tarn.sim.set('power.state', 2);
  check.equal(q[method](), true, method + ' succeeds');
  check.sameJson(ops('TvPowerClient'), [[operation, args]], method + ' calls ' + operation + JSON.stringify(args));
  check.equal(tarn.sim.get('power.state'), state, method + ' leaves the set in state ' + state);
  check.sameJson(lines(), detail('[KOVA] excute ' + tag, '[KOVA] ' + tag + ' success'), method + ' lines');
  tarn.sim.forceResult(operation, -1);
  check.equal(q[method](), false, method + ' fails when the platform does');
  check.sameJson(lines(), detail('[KOVA] excute ' + tag, '[KOVA] ' + tag + ' fail'), method + ' failure lines');
  tarn.sim.forceResult(operation, 1);
  check.equal(q[method](), false, method + ': any non-zero result is a failure');
}
fresh();
q.poweroff();
check.equal(q.poweroff(), false, 'poweroff when already off: the set refuses');
fresh();
check.equal(q.powerStanby(), true, 'standby');
check.equal(q.checkPowerState(), 2, 'checkPowerState reads the standby state');
check.equal(q.powerNormal(), true, 'back to normal through setPowerState');
check.sameJson(ops('TvPowerClient').map((o) => o[0]),
               ['setDevicePowerState', 'getPowerState', 'setPowerState'], 'the calls in order');

// --- checkPowerState -----------------------------------------------------------
fresh();
for (const state of [0, 1, 2, 3]) {
  tarn.sim.set('power.state', state);
  check.equal(q.checkPowerState(), state, 'checkPowerState answers state ' + state);
}
tarn.sim.forceResult('getPowerState', -42);
check.equal(q.checkPowerState(), -42, 'the platform\'s number unchanged');
check.sameJson(lines().slice(0, 1), detail('[KOVA] excute PowerCheckState'), 'its line');

// --- setWelcomeScreen ------------------------------------------------------------
const welcome = [
  [[1, false], 0, true, 'mode 1, skip false passes 0'],
  [[0, false], 1, false, 'mode 0 passes 1'],
  [[5, false], 5, false, 'mode 5 passes 5'],
  [[5.9], 5, false, 'mode 5.9 passes 5, a missing skip flag is false'],
];
for (const [args, value, screen, what] of welcome) {
  fresh();
  check.equal(q.setWelcomeScreen(...args), true, what + ': true');
  check.sameJson(ops('AvOutputClient'), [['setWelcomeMode', [value]]], what);
  check.sameJson(ops('TvPowerClient'), screen ? [['setScreenState', [1]]] : [], what + ': screen call');
  check.equal(tarn.sim.get('av.welcomeMode'), value, what + ': the set keeps it');
  const expected = screen ? ['[KOVA] excute PowerSetWelcomeScreen', '[KOVA] unsubscribePreWakeup success',
                             '[KOVA] PowerSetWelcomeScreen success']
                          : ['[KOVA] excute PowerSetWelcomeScreen', '[KOVA] PowerSetWelcomeScreen success'];
  check.sameJson(lines(), detail(...expected), what + ': lines');
}
fresh();
check.equal(q.setWelcomeScreen(1, true), true, 'skip true answers true');
check.sameJson(ops('AvOutputClient'), [], 'skip true: no welcome-mode call');
check.sameJson(ops('TvPowerClient'), [['setScreenState', [1]]], 'skip true, mode 1: the screen call is still made');
fresh();
tarn.sim.forceResult('setScreenState', -2);
check.equal(q.setWelcomeScreen(1, false), true, 'a failed screen call does not change the answer');
check.sameJson(lines(), detail('[KOVA] excute PowerSetWelcomeScreen', '[KOVA] unsubscribePreWakeup fail',
                               '[KOVA] PowerSetWelcomeScreen success'), 'the screen failure line');
check.sameJson(ops('AvOutputClient'), [['setWelcomeMode', [0]]], 'and 0 is passed anyway');
fresh();
check.equal(q.setWelcomeScreen(-3, false), false, 'a refused welcome mode answers false');
check.sameJson(lines(), detail('[KOVA] excute PowerSetWelcomeScreen', '[KOVA] PowerSetWelcomeScreen fail'),
               'the failure line');

// --- setPrePowerKey ---------------------------------------------------------------
const pre = (...texts) => detail('[KOVA] excute HandleSetPrePowerKey', ...texts);
const FAIL = '~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~[KOVA] HandleSetPrePowerKey fail';
fresh();
tarn.sim.set('power.prePower', 1);
check.equal(q.setPrePowerKey(true), true, 'on when already on: true');
check.sameJson(ops('PanelMcuClient').map((o) => o[0]), ['getPrePower', 'getPrePower'],
               'reads twice and does not call setPrePower');
check.sameJson(lines(), pre('[KOVA] HandleSetPrePowerKey pastState : 1',
                            '[KOVA] [HandleSetPrePowerKey success] State is already ON!!! currentState : 1'),
               'already-on lines');
fresh();
tarn.sim.set('power.prePower', 0);
check.equal(q.setPrePowerKey(true), true, 'off to on');
check.sameJson(ops('PanelMcuClient'), [['getPrePower', ops('PanelMcuClient')[0][1]], ['setPrePower', [1]]], 'sets 1');
check.equal(tarn.sim.get('power.prePower'), 1, 'the key is on');
check.sameJson(lines(), pre('[KOVA] HandleSetPrePowerKey pastState : 0',
                            '[KOVA] [HandleSetPrePowerKey success] State is changed to ON!!!'), 'on lines');
fresh();
tarn.sim.forceResult('getPrePower', -2);
check.equal(q.setPrePowerKey(true), false, 'on when reading fails: false, even if setting would work');
check.sameJson(ops('PanelMcuClient').map((o) => o[0]), ['getPrePower'], 'no setPrePower call then');
check.sameJson(lines(), pre('[KOVA] HandleSetPrePowerKey pastState : 0', FAIL), 'the 31-tilde failure line');
fresh();
tarn.sim.set('power.prePower', 1);
tarn.sim.forceResult('getPrePower', -2);
check.equal(q.setPrePowerKey(false), true, 'off sets off regardless of the failed read');
check.sameJson(ops('PanelMcuClient').map((o) => o[0]), ['getPrePower', 'setPrePower'], 'reads then sets');
check.sameJson(ops('PanelMcuClient')[1][1], [0], 'sets 0');
check.sameJson(lines(), pre('[KOVA] HandleSetPrePowerKey pastState : 0',
                            '[KOVA] [HandleSetPrePowerKey success] State is changed to OFF!!!'), 'off lines');
fresh();
tarn.sim.forceResult('setPrePower', -2);
check.equal(q.setPrePowerKey(), false, 'off (missing argument) failing: false');
check.sameJson(lines().pop(), [3, FAIL], 'failure line');
fresh();
tarn.sim.set('power.prePower', 0);
tarn.sim.forceResult('setPrePower', -2);
check.equal(q.setPrePowerKey(1), false, 'on failing to set: false');
check.sameJson(lines().pop(), [3, FAIL], 'failure line');

// --- getPowerKeyPressCount ----------------------------------------------------------
fresh();
tarn.sim.set('power.powerKeyPressCount', 6);
check.equal(q.getPowerKeyPressCount(1.9), 6, '1.9 sends command 1 and answers the count');
check.equal(q.getPowerKeyPressCount(257), 6, '257 sends command 1 too (low byte)');
check.equal(q.getPowerKeyPressCount(0), true, 'command 0 answers true');
check.equal(tarn.sim.get('power.powerKeyPressCount'), 0, 'and resets the count');
check.equal(q.getPowerKeyPressCount(2), false, 'another command answers false');
check.equal(q.getPowerKeyPressCount(-255), 0, '-255 has the low byte 1: reads the reset count');
tarn.sim.fire('powerKey', 3);
check.equal(q.getPowerKeyPressCount(1), 3, 'presses counted by the panel');
tarn.sim.forceResult('controlPowerKeyPressCount', 0);
check.equal(q.getPowerKeyPressCount(2), false, 'command 2 answers false after the platform call');
check.sameJson(tarn.sim.journal('controlPowerKeyPressCount').map((c) => c.arguments[0]),
               [1, 1, 0, 2, 1, 1, 2], 'the command bytes sent (-255 is 1)');
tarn.sim.forceResult('controlPowerKeyPressCount', -2);
check.equal(q.getPowerKeyPressCount(1), false, 'a failed query answers false');
check.equal(q.getPowerKeyPressCount(), true, 'a missing command is 0');
check.equal(lines()[0][1], '[KOVA] excute GetPowerKeyPressCount', 'its line');

// --- Mutes -------------------------------------------------------------------------------
for (const [method, operation, key, tag] of [['TVAudioMute', 'AvControl.setAudioMute', 'audioMute', 'TVAudioMute'],
                                              ['TVVideoMute', 'AvControl.setVideoMute', 'videoMute', 'TVVideoMute']]) {
  fresh();
  check.equal(q[method](true), true, method + '(true) succeeds');
  check.equal(tarn.sim.get('av.' + key), true, method + ' mutes the set');
  check.sameJson(ops('TvServiceGateway'), [['createAvControl', ops('TvServiceGateway')[0][1]], [operation, [1, 0, true]]],
                 method + ': a new control, then the mute');
  check.sameJson(ops('TvServiceGateway')[0][1].slice(0, 2), [1, 0], method + ': profile 1, index 0');
  check.sameJson(lines(), detail('[KOVA] excute ' + tag, '[KOVA] ' + tag + ' success'), method + ' lines');
  check.equal(q[method](0), true, method + '(0) unmutes');
  check.equal(tarn.sim.get('av.' + key), false, method + ' unmuted');
  check.equal(tarn.sim.journal('createAvControl').length, 2, method + ': a control per call');
  tarn.sim.forceResult('TvServiceGateway.' + operation, 0);
  check.equal(q[method](true), false, method + ': a result of 0 is a failure');
  check.sameJson(lines().slice(-1), detail('[KOVA] ' + tag + ' fail'), method + ' failure line');
  tarn.sim.forceResult('createAvControl', -2);
  check.equal(q[method](true), false, method + ': no control from the gateway is a failure, not a crash');
}

check.done();
