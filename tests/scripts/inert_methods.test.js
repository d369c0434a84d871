// Methods kept for old scripts answer their fixed value whatever they are
// given; the two deprecated ones log once per call and answer false.
tarn.load('lib/check.js');

const q = new QDUtil();
const fixed = [
  ['qd_annotate', true], ['qd_raiseXWindow', true], ['screenCapture', true],
  ['changeXPropertynormal', true], ['setXPropertyTranspRect', true], ['SetXPropertyCover', true],
  ['setXPropertyRectWindow', true], ['registerKey', true], ['registerKeyFS', true],
  ['HandleRegisterKeyFSForCH', true], ['setIsShowActor', true], ['volumeRegisterKey', true],
  ['volumeUnregisterKey', true], ['exitRegisterKey', true], ['exitUnregisterKey', true],
  ['setTVSourceType', true], ['lwRegisterKeyRF', true], ['lwRegisterKeySTB', true],
  ['lwSharedKey', true], ['registEXTRA', true], ['changeNormal', true], ['changeNoti', true],
  ['changeDemandAttention', true], ['changeBelow', true], ['XPointingControl', true],
  ['removeKey', true], ['registerNoneKey', true], ['skipFocus', true], ['DCCapture', true],
  ['DCCaptureStart', true], ['DCCaptureEnd', true], ['exitSearchAllRegisterKey', true],
  ['exitSearchAllUnregisterKey', true],
  ['getXWindowID', 0], ['getFocusedWinId', 0], ['sharedExitKey', 0], ['setWindowOpaque', 0],
  ['getAppInfo', false], ['checkFsHide', false], ['getTopWindow', ''],
];
check.equal(fixed.length, 40, 'forty inert methods');

const throwing = { get x() { throw new Error('getter ran'); }, valueOf() { throw new Error('valueOf ran'); },
                   toString() { throw new Error('toString ran'); } };
const argumentLists = [
  ['no arguments', []],
  ['ten arguments', [1, 2, 3, 4, 5, 6, 7, 8, 9, 10]],
  ['an object', [{ a: 1 }]],
  ['a Symbol', [Symbol('s')]],
  ['a BigInt', [12345678901234567890n]],
  ['an object that throws on any conversion', [throwing]],
  ['a Proxy that throws on every trap',
   [new Proxy({}, { get() { throw new Error('trap'); }, has() { throw new Error('trap'); } })]],
  ['null and undefined', [null, undefined]],
];
for (const [name, value] of fixed) {
  for (const [what, args] of argumentLists) {
    check.equal(q[name](...args), value, name + ' with ' + what);
  }
}

check.equal(typeof q.sharedExitKey(), 'number', 'sharedExitKey answers a number');
check.equal(q.sharedExitKey(), 0, 'sharedExitKey answers 0, not false');
check.equal(q.lwSharedKey(), true, 'lwSharedKey answers true');
check.equal(q.getTopWindow().length, 0, 'getTopWindow answers a text of length 0');
check.equal(typeof q.getTopWindow(), 'string', 'getTopWindow answers a text, not null');

// Deprecated methods: false, and exactly one log line per call.
for (const [name, handler] of [['set3dMode', 'HandleSet3dMode'], ['get3dMode', 'HandleGet3dMode']]) {
  tarn.log.capture();
  const results = [q[name](), q[name](1), q[name]('3d', { on: true }, throwing)];
  const records = tarn.log.take();
  tarn.log.stop();
  check.sameJson(results, [false, false, false], name + ' answers false with any arguments');
  const lines = check.linesWithText(records, handler + ' was deprecated.');
  check.equal(lines.length, 3, name + ' writes one line per call');
  check.equal(records.filter((r) => r.logger === 'tarn.qdutil.bridge').length, 3,
              name + ' writes nothing else through the bridge logger');
  check.sameJson(lines.map((r) => [r.logger, r.level, r.file, r.function]),
                 Array(3).fill(['tarn.qdutil.bridge', 2, 'src/bridge/QDUtilBridge', handler]),
                 name + ' log line carries the bridge logger, level 2, file and function');
}

check.done();
