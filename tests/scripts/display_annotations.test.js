// Profiler annotation records, checked byte for byte in the simulated set's
// annotation device. The stream is opened once per process and kept, so the
// order matters: first the device that cannot be opened, then the records.
tarn.load('lib/check.js');

const q = new QDUtil();
const device = '/dev/gator/annotate';
const colours = {
  red: 0x0000FF1B, blue: 0xFF00001B, green: 0x00FF001B, purple: 0xFF00FF1B,
  yellow: 0x00FFFF1B, cyan: 0xFFFF001B, white: 0xFFFFFF1B, ltgray: 0xBBBBBB1B,
  dkgray: 0x5555551B,
};
const black = 0x0000001B;
const colourOf = (name) => (Object.prototype.hasOwnProperty.call(colours, name) ? colours[name] : black);

const utf8 = (text) => Array.from(unescape(encodeURIComponent(text)), (c) => c.charCodeAt(0));
const u16 = (v) => [v & 255, (v >>> 8) & 255];
const u32 = (v) => [v & 255, (v >>> 8) & 255, (v >>> 16) & 255, (v >>> 24) & 255];
const marker = (colour, text) => {
  const bytes = utf8(text);
  return [0x1C, 0x05, ...u16((bytes.length + 4) & 0xFFFF), ...u32(colour), ...bytes];
};
const channelRecord = (channel, colour, text) => {
  const bytes = utf8(text);
  return [0x1C, 0x06, ...u32(channel), ...u16((bytes.length + 4) & 0xFFFF), ...u32(colour),
          ...bytes];
};
const channelEnd = (channel) => [0x1C, 0x06, ...u32(channel), 0, 0];

// What the device holds beyond `offset` bytes.
let offset = 0;
function written() {
  const bytes = tarn.sim.readFile(device);
  if (bytes === null) return null;
  const tail = Array.from(bytes.subarray(offset));
  offset = bytes.length;
  return tail;
}
function sameBytes(actual, expected, what) {
  if (actual === null) return check.ok(false, what + ': the device is not a readable file');
  if (actual.length !== expected.length) {
    return check.equal(actual.length, expected.length, what + ': length');
  }
  const at = actual.findIndex((b, i) => b !== expected[i]);
  return check.equal(at, -1, what + (at >= 0 ? ' (first difference at byte ' + at + ')' : ''));
}

// --- before the stream is open ----------------------------------------------

check.equal(written().length, 0, 'the set starts with an empty annotation device');
check.equal(q.ANNOTATE_CHANNEL_END(1), true, 'channel end before any marker: true');
sameBytes(written(), [], 'channel end before any marker writes nothing');

// A device that cannot be opened: its folder is missing.
tarn.sim.removePath('/dev/gator');
check.equal(q.ANNOTATE_MARKER_COLOR_STR('red', 'lost'), true, 'marker without a device: true');
check.equal(q.ANNOTATE_CHANNEL_COLOR(1, 'red', 'lost'), true, 'channel without a device: true');
check.equal(tarn.sim.readFile(device), null, 'no device is created without its folder');
// A device that is a folder.
tarn.sim.makeFolder(device);
check.equal(q.ANNOTATE_MARKER_COLOR_STR('red', 'lost'), true, 'marker on a folder: true');
check.equal(q.ANNOTATE_CHANNEL_COLOR(2, 'blue', 'lost'), true, 'channel on a folder: true');
check.equal(q.ANNOTATE_CHANNEL_END(2), true, 'channel end on a folder: true');
check.equal(tarn.sim.readFile(device), null, 'the folder stays a folder');
tarn.sim.removePath(device);
// Tried again on the next call once the device can be opened.
tarn.sim.set('files["' + device + '"]', 'stale');
check.equal(tarn.sim.readFile(device).length, 5, 'a stale device file');

// Fewer arguments than needed: nothing, and the stream stays closed.
check.equal(q.ANNOTATE_MARKER_COLOR_STR('red'), true, 'marker with one argument: true');
check.equal(q.ANNOTATE_CHANNEL_COLOR(1, 'red'), true, 'channel with two arguments: true');
check.equal(q.ANNOTATE_CHANNEL_END(), true, 'channel end without argument: true');
offset = 0;
sameBytes(written(), utf8('stale'), 'short calls open and write nothing');

// --- records ----------------------------------------------------------------

check.equal(q.ANNOTATE_MARKER_COLOR_STR('green', 'first'), true, 'first marker: true');
offset = 0;
sameBytes(written(), marker(colours.green, 'first'),
          'the first marker opens the device afresh ("wb") and writes its record');

const names = [...Object.keys(colours), 'black', 'Red', 'RED', '', 'red ', 'grey'];
const texts = [0, 1, 15, 16, 255, 70000].map((n) =>
    Array.from({length: n}, (_, i) => String.fromCharCode(97 + (i % 26))).join(''));
for (const name of names) {
  for (const text of texts) {
    const what = name + '/' + text.length;
    check.equal(q.ANNOTATE_MARKER_COLOR_STR(name, text), true, 'marker ' + what + ': true');
    sameBytes(written(), marker(colourOf(name), text), 'marker ' + what);
    check.equal(q.ANNOTATE_CHANNEL_COLOR(9, name, text), true, 'channel ' + what + ': true');
    sameBytes(written(), channelRecord(9, colourOf(name), text), 'channel ' + what);
  }
}
check.equal(colourOf('Red'), black, 'reference: "Red" is black');

// The size field keeps the low 16 bits; the text is written whole.
q.ANNOTATE_MARKER_COLOR_STR('cyan', 'z'.repeat(70000));
const big = written();
check.sameJson(big.slice(0, 8), [0x1C, 0x05, 0x74, 0x11, 0x1B, 0x00, 0xFF, 0xFF],
               '70000 bytes: size 70004 & 0xFFFF = 4468 (0x1174)');
check.equal(big.length, 8 + 70000, '70000 bytes: all of the text follows');
q.ANNOTATE_MARKER_COLOR_STR('red', 'y'.repeat(65532));
check.sameJson(written().slice(2, 4), [0, 0], '65532 bytes: size wraps to 0');

// An empty text: the 8-byte header with size 4, nothing more.
q.ANNOTATE_MARKER_COLOR_STR('white', '');
sameBytes(written(), [0x1C, 0x05, 4, 0, 0x1B, 0xFF, 0xFF, 0xFF], 'empty marker: header only');

// Texts are the UTF-8 bytes of the script's text; a NUL is written as is.
q.ANNOTATE_MARKER_COLOR_STR('red', 'é€');
sameBytes(written(), marker(colours.red, 'é€'), 'UTF-8 text: 5 bytes, size 9');
q.ANNOTATE_MARKER_COLOR_STR('red', 'a\0b');
sameBytes(written(), marker(colours.red, 'a\0b'), 'an embedded NUL is written');
// Up to 15 bytes the script's own text is written, not the colour name.
q.ANNOTATE_MARKER_COLOR_STR('purple', 'abc');
sameBytes(written(), marker(colours.purple, 'abc'), 'a short text is the text given');

// Arguments converted as the script converts them.
q.ANNOTATE_MARKER_COLOR_STR({toString: () => 'yellow'}, 42);
sameBytes(written(), marker(colours.yellow, '42'), 'colour by toString, number text');
q.ANNOTATE_MARKER_COLOR_STR('red', undefined, 'extra');
sameBytes(written(), marker(colours.red, 'undefined'), 'an undefined text reads "undefined"');

// Channels: unsigned 32-bit numbers.
const channels = [[0, 0], [1, 1], [3.9, 3], [-1, 0xFFFFFFFF], [2 ** 32 + 5, 5], ['17', 17],
                  [NaN, 0], [2 ** 31, 0x80000000]];
for (const [given, wire] of channels) {
  q.ANNOTATE_CHANNEL_COLOR(given, 'ltgray', 'ch');
  sameBytes(written(), channelRecord(wire, colours.ltgray, 'ch'), 'channel ' + String(given));
  check.equal(q.ANNOTATE_CHANNEL_END(given), true, 'channel end ' + String(given) + ': true');
  sameBytes(written(), channelEnd(wire), 'channel end ' + String(given));
}
q.ANNOTATE_CHANNEL_END(7, 'ignored');
sameBytes(written(), channelEnd(7), 'channel end ignores further arguments');

// Conversions that throw stop the call before anything is written.
check.throws(() => q.ANNOTATE_MARKER_COLOR_STR({toString() { throw new Error('colour'); }}, 'x'),
             'colour', 'a colour that throws reaches the script');
check.throws(() => q.ANNOTATE_CHANNEL_COLOR(1, 'red', Symbol('t')),
             'Cannot convert a Symbol value to a string', 'a Symbol text throws');
check.throws(() => q.ANNOTATE_CHANNEL_END({valueOf() { throw new Error('channel'); }}),
             'channel', 'a channel that throws reaches the script');
sameBytes(written(), [], 'nothing written by calls that threw');

// No log lines from any annotation method.
tarn.log.capture();
q.ANNOTATE_MARKER_COLOR_STR('red', 'quiet');
q.ANNOTATE_CHANNEL_COLOR(1, 'red', 'quiet');
q.ANNOTATE_CHANNEL_END(1);
check.equal(tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge').length, 0,
            'annotations log nothing');
tarn.log.stop();
written();

// The stream stays open: removing the device file does not stop the writes
// reaching the open file, and a new file is not opened.
tarn.sim.removePath(device);
q.ANNOTATE_MARKER_COLOR_STR('red', 'after');
check.equal(tarn.sim.readFile(device), null, 'the open stream is kept, not reopened');

check.done();
