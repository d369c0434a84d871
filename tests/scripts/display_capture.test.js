// "requestCaptureToFileSync": the request the capture service receives
// (journal), the log lines in order, the result, and the image written under
// the simulated set's root, read back by the format readers of
// lib/display_images.js.
tarn.load('lib/check.js');
tarn.load('lib/display_images.js');

const q = new QDUtil();
const folder = '/opt/usr/home/captures';
tarn.sim.makeFolder(folder);

const bridgeLines = () => tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge');
// The request of the last capture call, as the service saw it.
function lastRequest() {
  const calls = tarn.sim.journal('DisplayCaptureClient.RequestCaptureToFileSync');
  if (!calls.length) return null;
  // In the record's field order (the journal sorts its keys).
  const seen = calls[calls.length - 1].arguments[0];
  const request = {};
  for (const key of ['app_type', 'capture_mode', 'comp_type', 'jpeg_quality', 'dir_path',
                     'file_name', 'width', 'height']) {
    request[key] = seen[key];
  }
  return request;
}
function capture(options, what) {
  tarn.sim.clearJournal();
  tarn.log.capture();
  const result = arguments.length === 0 || options === capture.none
      ? q.requestCaptureToFileSync() : q.requestCaptureToFileSync(options);
  const lines = bridgeLines();
  tarn.log.stop();
  check.equal(tarn.sim.journal('DisplayCaptureClient').length, 1, what + ': one service call');
  check.ok(lines.every((r) => r.level === 2), what + ': every line at level 2');
  check.ok(lines.every((r) => r.function === 'HandleDCRequestCaptureToFileSync'),
           what + ': every line from the handler');
  return {result, request: lastRequest(), lines: lines.map((r) => r.text)};
}
capture.none = {};
const requestLines = (r) => [
  'req_data.app_type :' + r.app_type, 'req_data.capture_mode :' + r.capture_mode,
  'req_data.comp_type :' + r.comp_type, 'req_data.jpeg_quality :' + r.jpeg_quality,
  'req_data.width :' + r.width, 'req_data.height :' + r.height,
  'req_data.dir_path : [' + (r.dir_path === null ? '' : r.dir_path) + ']',
  'req_data.file_name : [' + (r.file_name === null ? '' : r.file_name) + ']',
];
const defaultLines = [
  '[TARN]---default capture width480', '[TARN]---default capture height270',
  '[TARN]---default capture app_type0', '[TARN]---default capture capture_mode2',
  '[TARN]---default capture comp_type1', '[TARN]---default capture jpeg_quality70',
];
const defaults = {app_type: 0, capture_mode: 2, comp_type: 1, jpeg_quality: 70,
                  dir_path: null, file_name: null, width: 480, height: 270};
const failed = (code) => 'RequestCaptureToFileSync() failed - retVal:' + code;

// --- no argument: the zero request ---------------------------------------------

let c = capture(capture.none, 'no argument');
const zero = {app_type: 0, capture_mode: 0, comp_type: 0, jpeg_quality: 0,
              dir_path: null, file_name: null, width: 0, height: 0};
check.sameJson(c.request, zero, 'no argument: all zero, null paths');
check.equal(c.result, -1, 'no argument: the service\'s code (invalid parameter)');
check.sameJson(c.lines, [...requestLines(zero), failed(-1)], 'no argument: log lines');

// --- {}: the defaults ----------------------------------------------------------

c = capture({}, '{}');
check.sameJson(c.request, defaults, '{}: 480 by 270, mode 2, compression 1, quality 70');
check.equal(c.result, -1, '{}: no paths, the service refuses');
check.sameJson(c.lines, [...defaultLines, ...requestLines(defaults), failed(-1)],
               '{}: six default lines, the request, the failure');

// --- a PNG of the screen -----------------------------------------------------------

c = capture({dir_path: folder, file_name: 'screen.png', width: 640, height: 360, app_type: 1,
             cpature_mode: 0, comp_type: 0, jpeg_quality: 50}, 'png');
const pngRequest = {app_type: 1, capture_mode: 0, comp_type: 0, jpeg_quality: 50,
                    dir_path: folder, file_name: 'screen.png', width: 640, height: 360};
check.sameJson(c.request, pngRequest, 'png: the request as given');
check.sameJson(c.result, {ret_width: 640, ret_height: 360, ret_path: folder + '/screen.png'},
               'png: the result object, keys in order');
check.sameJson(c.lines, [
  '[TARN]---input capture dir_path' + folder, '[TARN]---input capture file_namescreen.png',
  '[TARN]---input capture width640', '[TARN]---input capture height360',
  '[TARN]---input capture app_type1', '[TARN]---input capture capture_mode0',
  '[TARN]---input capture comp_type0', '[TARN]---input capture jpeg_quality50',
  ...requestLines(pngRequest),
  'captured image saved. [w:640, h:360, path:' + folder + '/screen.png',
], 'png: log lines in order');
let png = null;
try {
  png = images.decodePng(tarn.sim.readFile(folder + '/screen.png'));
} catch (e) {
  check.ok(false, 'png: decodes (' + e.message + ')');
}
if (png) {
  check.sameJson([png.width, png.height], [640, 360], 'png: decoded size is the reported size');
  const lit = [png.pixel(10, 10), png.pixel(320, 100), png.pixel(600, 200)]
      .filter((p) => p.some((v) => v > 0)).length;
  check.equal(lit, 3, 'png: the picture is not black while the set shows a source');
}

// --- a JPEG of the video -----------------------------------------------------------

c = capture({dir_path: folder, file_name: 'video.jpg', width: 320, height: 180,
             cpature_mode: 1, comp_type: 1, jpeg_quality: 90}, 'jpeg');
check.sameJson(c.result, {ret_width: 320, ret_height: 180, ret_path: folder + '/video.jpg'},
               'jpeg: the result object');
try {
  const jpeg = images.readJpeg(tarn.sim.readFile(folder + '/video.jpg'));
  check.sameJson([jpeg.width, jpeg.height, jpeg.components], [320, 180, 3],
                 'jpeg: a complete JPEG of the reported size, in colour');
} catch (e) {
  check.ok(false, 'jpeg: reads (' + e.message + ')');
}
c = capture({dir_path: folder, file_name: 'q1.jpg', jpeg_quality: 1}, 'jpeg quality 1');
check.equal(c.result.ret_path, folder + '/q1.jpg', 'jpeg quality 1: written');
check.equal(c.request.capture_mode, 2, 'jpeg quality 1: default mode 2');
check.equal(images.readJpeg(tarn.sim.readFile(folder + '/q1.jpg')).width, 480,
            'jpeg quality 1: default width 480');

// --- black frames ------------------------------------------------------------------

function allBlack(file, what) {
  const image = images.decodePng(tarn.sim.readFile(folder + '/' + file));
  let lit = 0;
  for (let y = 0; y < image.height; y += 7) {
    for (let x = 0; x < image.width; x += 7) if (image.pixel(x, y).some((v) => v)) ++lit;
  }
  check.equal(lit, 0, what + ': every pixel is black');
}
tarn.sim.set('av.videoMute', true);
c = capture({dir_path: folder, file_name: 'muted.png', width: 160, height: 90, cpature_mode: 1,
             comp_type: 0}, 'muted');
check.equal(c.result.ret_width, 160, 'muted: captured');
allBlack('muted.png', 'video muted');
tarn.sim.set('av.videoMute', false);
tarn.sim.set('power.state', 1);
c = capture({dir_path: folder, file_name: 'off.png', width: 160, height: 90, cpature_mode: 0,
             comp_type: 0}, 'picture off');
check.equal(c.result.ret_height, 90, 'picture off: captured');
allBlack('off.png', 'picture off');
tarn.sim.set('power.state', 0);

// --- the options as read -----------------------------------------------------------

c = capture({capture_mode: 0}, 'key in its usual spelling');
check.equal(c.request.capture_mode, 2, 'capture_mode spelt the usual way is ignored: mode 2');
check.ok(c.lines.includes('[TARN]---default capture capture_mode2'),
         'usual spelling: the default line for the mode');
c = capture({width: 639.9, height: '800', jpeg_quality: -0.9}, 'conversions');
check.sameJson([c.request.width, c.request.height, c.request.jpeg_quality], [639, 800, 0],
               '639.9 sends 639, the text 800 sends 800, -0.9 sends 0');
check.ok(c.lines.includes('[TARN]---input capture width639'), 'the width line shows 639');
c = capture({width: '800'}, 'a width given as text');
check.equal(c.request.width, 800, 'the text 800 as the width sends 800');
check.ok(c.lines.includes('[TARN]---input capture width800'), 'the width line shows 800');
c = capture({width: -5, height: 2 ** 32 + 10, app_type: 1e10, cpature_mode: 7, comp_type: 9,
             jpeg_quality: 1000}, 'no range check');
check.sameJson([c.request.width, c.request.height, c.request.app_type, c.request.capture_mode,
                c.request.comp_type, c.request.jpeg_quality],
               [-5, 10, 1410065408, 7, 9, 1000], 'values go to the service unchanged (wrapped)');
check.equal(c.result, -1, 'an unknown mode: the service\'s code');
c = capture({dir_path: 5, file_name: true}, 'paths converted');
check.sameJson([c.request.dir_path, c.request.file_name], ['5', 'true'],
               'paths read as texts');
const withGetters = {get width() { return 321; }};
c = capture(Object.create(withGetters), 'inherited getter');
check.equal(c.request.width, 321, 'an inherited getter is read');

// --- the service's path ------------------------------------------------------------

c = capture({dir_path: folder + '//', file_name: 'slashes.png', comp_type: 0}, 'trailing slashes');
check.equal(c.result.ret_path, folder + '/slashes.png',
            'ret_path is the service\'s path, not folder and name joined');
tarn.sim.forceResult('DisplayCaptureClient.RequestCaptureToFileSync', 0);
c = capture({dir_path: folder, file_name: 'forced.png'}, 'forced success');
check.sameJson(c.result, {ret_width: 0, ret_height: 0, ret_path: ''},
               'a success with untouched outputs reports the record as it is');
check.equal(tarn.sim.readFile(folder + '/forced.png'), null, 'forced: nothing written');
check.equal(c.lines[c.lines.length - 1], 'captured image saved. [w:0, h:0, path:',
            'forced: the success line');

// --- failures: the service's code ----------------------------------------------------

const failures = [
  [{dir_path: folder, file_name: 'neg.png', width: -1}, -2, 'a negative width'],
  [{dir_path: folder, file_name: 'huge.png', width: 100000, height: 100000}, -2, 'a huge size'],
  [{dir_path: folder, file_name: 'wrap.png', width: 2 ** 31}, -2, 'a width wrapping negative'],
  [{dir_path: folder, file_name: 'zero.png', height: 0}, -2, 'a zero height'],
  [{dir_path: folder, file_name: 'q.jpg', jpeg_quality: 101}, -1, 'jpeg_quality 101'],
  [{dir_path: folder, file_name: 'q0.jpg', jpeg_quality: 0}, -1, 'jpeg_quality 0'],
  [{dir_path: folder + '/missing', file_name: 'a.png'}, -4, 'a folder that does not exist'],
  [{dir_path: folder + '/screen.png', file_name: 'a.png'}, -4, 'a folder that is a file'],
  [{dir_path: folder, file_name: 'x'.repeat(300)}, -3, 'a path longer than 256 bytes'],
  [{dir_path: folder, file_name: 'a/b.png'}, -1, 'a name with a slash'],
  [{dir_path: '', file_name: 'a.png'}, -1, 'an empty folder'],
  [{file_name: 'a.png'}, -1, 'no folder'],
  [{dir_path: folder}, -1, 'no name'],
];
for (const [options, code, what] of failures) {
  c = capture(options, what);
  check.equal(c.result, code, what + ': the service\'s code ' + code);
  check.equal(c.lines[c.lines.length - 1], failed(code), what + ': the failure line');
}
check.equal(tarn.sim.readFile(folder + '/neg.png'), null, 'failures write nothing');
// The path fits the record up to 255 bytes and its terminator.
const room = 255 - (folder + '/').length;
c = capture({dir_path: folder, file_name: 'n'.repeat(room), comp_type: 0, width: 8, height: 8},
            '255-byte path');
check.equal(c.result.ret_path, folder + '/' + 'n'.repeat(room), 'a 255-byte path is written');
check.equal(c.result.ret_path.length, 255, 'ret_path holds all 255 bytes');
c = capture({dir_path: folder, file_name: 'n'.repeat(room + 1), comp_type: 0}, '256-byte path');
check.equal(c.result, -3, 'a 256-byte path does not fit the record');
c = capture({dir_path: folder, file_name: 'long', width: 8, height: 8,
             comp_type: 0, app_type: 0, extra: 'x'.repeat(100000)}, 'unknown keys');
check.equal(c.result.ret_width, 8, 'unknown keys are ignored');
const longFolder = '/opt/usr/home/' + 'd'.repeat(5000);
c = capture({dir_path: longFolder, file_name: 'a.png'}, 'a 5000-byte folder');
check.equal(c.result, -3, 'a 5000-byte folder: the path does not fit');
check.equal(c.request.dir_path, longFolder, 'the long folder reaches the service whole');

tarn.sim.set('power.state', 2);
c = capture({dir_path: folder, file_name: 'standby.png'}, 'standby');
check.equal(c.result, -5, 'standby: nothing to capture');
tarn.sim.set('power.state', 0);
tarn.sim.forceResult('DisplayCaptureClient.RequestCaptureToFileSync', -77);
c = capture({dir_path: folder, file_name: 'x.png'}, 'forced failure');
check.equal(c.result, -77, 'any non-zero code is answered as it is');
check.equal(c.lines[c.lines.length - 1], failed(-77), 'forced failure: the failure line');

// --- options that are not a plain object --------------------------------------------

for (const [value, what] of [[5, 'a number'], ['abc', 'a text'], [null, 'null'],
                             [undefined, 'undefined'], [true, 'a boolean'], [[640, 360], 'an array'],
                             [() => 1, 'a function']]) {
  c = capture(value, what);
  check.sameJson(c.request, defaults, what + ': every default applies');
  check.sameJson(c.lines, [...defaultLines, ...requestLines(defaults), failed(-1)],
                 what + ': the default lines');
}
const proxy = new Proxy({}, {
  has: (t, key) => key === 'width' || key === 'dir_path',
  get: (t, key) => (key === 'width' ? 222 : key === 'dir_path' ? folder : undefined),
});
c = capture(proxy, 'a Proxy');
check.equal(c.request.width, 222, 'a Proxy: its traps answer the keys');
check.equal(c.request.dir_path, folder, 'a Proxy: its text answered');
check.equal(c.request.height, 270, 'a Proxy: keys it does not have take the default');
check.sameJson(capture(new Proxy({}, {}), 'an empty Proxy').request, defaults,
               'an empty Proxy: the defaults');

// Reading an option that throws stops the call before the service; the
// script receives its own exception (the path copies made so far are freed).
function throwsBeforeService(options, message, what) {
  tarn.sim.clearJournal();
  check.throws(() => q.requestCaptureToFileSync(options), message, what);
  check.equal(tarn.sim.journal('DisplayCaptureClient').length, 0, what + ': no service call');
}
throwsBeforeService({dir_path: folder, file_name: 'g.png', get width() { throw new Error('w'); }},
                    'w', 'a throwing width getter');
throwsBeforeService({dir_path: folder, get file_name() { throw new RangeError('f'); }}, 'f',
                    'a throwing name getter after a path copy');
throwsBeforeService({jpeg_quality: {valueOf() { throw new Error('q'); }}}, 'q',
                    'a quality whose conversion throws');
throwsBeforeService({dir_path: Symbol('d')}, 'Cannot convert a Symbol value to a string',
                    'a Symbol folder');
throwsBeforeService(new Proxy({}, {has() { throw new Error('trap'); }}), 'trap',
                    'a Proxy whose has trap throws');
throwsBeforeService({width: 10n}, 'Cannot convert a BigInt value to a number', 'a BigInt width');

// Only argument 0 is read.
c = capture({dir_path: folder, file_name: 'only0.png', width: 16, height: 9, comp_type: 0},
            'argument 0 only');
tarn.sim.clearJournal();
check.sameJson(q.requestCaptureToFileSync({dir_path: folder, file_name: 'only0.png', width: 16,
                                           height: 9, comp_type: 0}, {width: 1}),
               {ret_width: 16, ret_height: 9, ret_path: folder + '/only0.png'},
               'a second argument is ignored');

check.done();
