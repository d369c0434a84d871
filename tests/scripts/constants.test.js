// The 23 numeric constants: fixed values on every object; writes of a number
// are accepted and ignored, writes of anything else are a "Bad Type" error;
// every read and write leaves one trace line naming the property.
tarn.load('lib/check.js');

const expected = {
  APP_TYPE_TARN_APP: 0, APP_TYPE_WEB_APP: 1, APP_TYPE_GAME_APP: 2, APP_TYPE_EFL_APP: 3,
  APP_TYPE_SOURCE: 4, APP_TYPE_CHANNEL: 5, APP_TYPE_SPORTS: 6, NB_APP_TYPE: 7,
  MODE_SCREEN: 0, MODE_VIDEO: 1, MODE_VIDEO_MAIN_ONLY: 2, MODE_VIDEO_SUB_ONLY: 3,
  MODE_ENCODER_INPUT: 4, NB_MODE: 5, COMP_TYPE_PNG: 0, COMP_TYPE_JPEG: 1,
  ON_FS_RECENT_CHANGED: 0, ON_FS_INSTALL_NOTIFY: 1, ON_FS_PVR_POPUP_EVENT: 2,
  ON_FS_EXTERNAL_EVENT: 3, ON_FS_AVAILABLE_NOTIFY: 4, ON_FS_YOUTUBE_NOTIFY: 5,
  ON_FS_BROWSER_NOTIFY: 6,
};

const a = new QDUtil();
const b = new QDUtil('any', 'arguments', 3);
for (const name of Object.keys(expected)) {
  check.equal(a[name], expected[name], name + ' on one object');
  check.equal(b[name], expected[name], name + ' on another object');
}
check.equal(a.NB_MODE, 5, 'NB_MODE reads 5');
check.equal(b.COMP_TYPE_JPEG, 1, 'COMP_TYPE_JPEG reads 1');

// A number is accepted silently and changes nothing.
a.APP_TYPE_WEB_APP = 7;
check.equal(a.APP_TYPE_WEB_APP, 1, 'APP_TYPE_WEB_APP still reads 1 after assigning 7');
a.NB_MODE = -1.5;
check.equal(a.NB_MODE, 5, 'NB_MODE still reads 5 after assigning -1.5');
a.NB_MODE = 1e300;
check.equal(a.NB_MODE, 5, 'a huge number is accepted and ignored');
a.NB_MODE = Infinity;
check.equal(a.NB_MODE, 5, 'Infinity is a number: accepted and ignored');

const badType = 'Bad Type: Number expected for property "APP_TYPE_WEB_APP"';
const badValues = [
  ['a text', 'seven'],
  ['a numeric text', '7'],
  ['NaN', NaN],
  ['undefined', undefined],
  ['null', null],
  ['a boolean', true],
  ['an object', {}],
  ['a Number object', new Number(7)],
  ['a Symbol', Symbol('x')],
  ['a BigInt', 7n],
  ['an object whose valueOf throws', { valueOf() { throw new Error('valueOf ran'); } }],
  ['a Proxy', new Proxy({}, { get() { throw new Error('trap ran'); } })],
];
for (const [what, value] of badValues) {
  check.throws(() => { a.APP_TYPE_WEB_APP = value; }, badType, 'assigning ' + what);
}
check.equal(a.APP_TYPE_WEB_APP, 1, 'APP_TYPE_WEB_APP reads 1 after the failed writes');
check.throws(() => { a.MODE_VIDEO = 'x'; }, 'Bad Type: Number expected for property "MODE_VIDEO"',
             'the message names the property written');

// In strict code too the write is accepted (it is an accessor, not read-only).
(function () {
  'use strict';
  a.COMP_TYPE_PNG = 3;
  check.equal(a.COMP_TYPE_PNG, 0, 'strict-mode write is accepted and ignored');
})();

// Trace lines: one per read and one per write, naming the property.
tarn.log.capture();
void a.NB_MODE;
a.COMP_TYPE_JPEG = 4;
try { a.MODE_SCREEN = 'x'; } catch (e) { /* expected */ }
const records = tarn.log.take();
tarn.log.stop();
const traces = records.filter((r) => r.text.startsWith('Trace JS Property(number) '));
check.sameJson(traces.map((r) => r.text), [
  'Trace JS Property(number) read: NB_MODE',
  'Trace JS Property(number) write: COMP_TYPE_JPEG',
  'Trace JS Property(number) write: MODE_SCREEN',
], 'one trace line per read and per write, in order');
check.sameJson(traces.map((r) => [r.file, r.function]), [
  ['ScriptBridge.h', 'getJSNumber'], ['ScriptBridge.h', 'setJSNumber'],
  ['ScriptBridge.h', 'setJSNumber'],
], 'trace lines name the engine header and the accessor');
check.ok(traces.every((r) => r.level === 4), 'trace lines are at the trace level');

check.done();
