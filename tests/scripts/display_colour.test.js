// "ExtractForegroundColor" against an independent single-precision
// computation, and "setAtlasThreshold" through the app configuration.
tarn.load('lib/check.js');

const q = new QDUtil();
const f = Math.fround;

// The grey for an average, step by step in single precision.
function expectedGrey(avg) {
  const v = avg <= 153 ? f(f(f(f(f(avg) / f(153)) * f(102)) + f(153)) + f(0.5))
                       : f(f(f(f(f(avg - 153) / f(102)) * f(66)) + f(40)) + f(0.5));
  return Math.trunc(v);
}
// A channel as the method counts it: numbers only, low 8 bits of the integer.
const channel = (x) => (typeof x === 'number' ? (x | 0) & 255 : 0);
const expectedFor = (r, g, b) =>
    expectedGrey(Math.floor((channel(r) + channel(g) + channel(b)) / 3));
const answer = (v) => ({success: true, color: {r: v, g: v, b: v}});

// The worked points.
check.equal(expectedGrey(0), 153, 'reference: avg 0 gives 153');
check.equal(expectedGrey(153), 255, 'reference: avg 153 gives 255');
check.equal(expectedGrey(154), 41, 'reference: avg 154 gives 41');
check.equal(expectedGrey(255), 106, 'reference: avg 255 gives 106');

// Every average, each as a grey background.
let mismatches = [];
for (let avg = 0; avg <= 255; ++avg) {
  const got = q.ExtractForegroundColor(avg, avg, avg);
  if (JSON.stringify(got) !== JSON.stringify(answer(expectedGrey(avg)))) mismatches.push(avg);
}
check.sameJson(mismatches, [], 'all 256 averages match the single-precision computation');
check.sameJson(q.ExtractForegroundColor(0, 0, 0), answer(153), 'avg 0: 153');
check.sameJson(q.ExtractForegroundColor(153, 153, 153), answer(255), 'avg 153: 255');
check.sameJson(q.ExtractForegroundColor(154, 154, 154), answer(41), 'avg 154: 41');
check.sameJson(q.ExtractForegroundColor(255, 255, 255), answer(106), '255, 255, 255: 106');

// The three inputs over their whole range at a coarser step.
mismatches = [];
for (let r = 0; r <= 255; r += 15) {
  for (let g = 0; g <= 255; g += 15) {
    for (let b = 0; b <= 255; b += 15) {
      const v = q.ExtractForegroundColor(r, g, b).color.r;
      if (v !== expectedFor(r, g, b)) mismatches.push([r, g, b, v]);
    }
  }
}
check.sameJson(mismatches, [], 'all inputs at step 15 match (avg by unsigned division)');
check.sameJson(q.ExtractForegroundColor(255, 0, 0), answer(expectedGrey(85)), 'red: avg 85');
check.sameJson(q.ExtractForegroundColor(1, 1, 0), answer(153), 'avg 2/3 rounds down to 0');

// Missing, non-number and out-of-range inputs.
check.sameJson(q.ExtractForegroundColor(), answer(153), 'no arguments: 153');
check.sameJson(q.ExtractForegroundColor('200', '200', '200'), answer(153),
               'the text 200 counts as 0');
check.sameJson(q.ExtractForegroundColor(200, 200, '200'), answer(expectedFor(200, 200, 0)),
               'a text beside numbers counts as 0');
check.sameJson(q.ExtractForegroundColor(300, 300, 300), answer(expectedGrey(44)),
               '300 counts as 44');
check.sameJson(q.ExtractForegroundColor(-1, -1, -1), answer(106), '-1 counts as 255');
check.sameJson(q.ExtractForegroundColor(200.9, 200.9, 200.9), answer(expectedGrey(200)),
               'fractions are truncated');
check.sameJson(q.ExtractForegroundColor(NaN, Infinity, -Infinity), answer(153),
               'NaN and infinities count as 0');
check.sameJson(q.ExtractForegroundColor(2 ** 40 + 255, 2 ** 32 + 255, -(2 ** 33) + 255),
               answer(106), 'huge numbers keep their low 8 bits');
check.sameJson(q.ExtractForegroundColor(true, null, [255]), answer(153),
               'booleans, null and arrays count as 0');
let ran = false;
const sneaky = {valueOf() { ran = true; throw new Error('converted'); }};
check.sameJson(q.ExtractForegroundColor(sneaky, sneaky, sneaky), answer(153),
               'an object counts as 0 without being converted');
check.equal(ran, false, 'no script code runs for a non-number');
check.sameJson(q.ExtractForegroundColor(255, 255, 255, 'extra'), answer(106),
               'a fourth argument is ignored');

const result = q.ExtractForegroundColor(10, 20, 30);
check.sameJson(Object.keys(result), ['success', 'color'], 'result keys in order');
check.sameJson(Object.keys(result.color), ['r', 'g', 'b'], 'colour keys in order');
check.equal(Number.isInteger(result.color.r), true, 'grey is an integer');

tarn.log.capture();
q.ExtractForegroundColor(1, 2, 3);
check.equal(tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge').length, 0,
            'no log lines');
tarn.log.stop();

// --- setAtlasThreshold ------------------------------------------------------

const before = tarn.config.atlas();
check.equal(q.setAtlasThreshold(), true, 'atlas without arguments: true');
check.sameJson(tarn.config.atlas(), before, 'atlas without arguments: nothing changes');
check.equal(q.setAtlasThreshold(2048, 0), true, 'atlas 2048, 0: true');
check.sameJson(tarn.config.atlas(), {width: 2048, height: false}, 'atlas 2048, 0: set');
check.equal(q.setAtlasThreshold(1024.7, 5), true, 'atlas 1024.7, 5: true');
check.sameJson(tarn.config.atlas(), {width: 1024, height: true}, 'width truncated, 5 is true');
q.setAtlasThreshold(512);
check.sameJson(tarn.config.atlas(), {width: 512, height: true},
               'a missing height reads as not a number: true');
q.setAtlasThreshold(256, 'abc');
check.sameJson(tarn.config.atlas(), {width: 256, height: true}, 'a non-numeric height: true');
q.setAtlasThreshold(128, '0');
check.sameJson(tarn.config.atlas(), {width: 128, height: false}, 'the text 0 reads as 0: false');
q.setAtlasThreshold(-5, -0);
check.sameJson(tarn.config.atlas(), {width: -5, height: false}, 'negative width, -0 false');
q.setAtlasThreshold('x', null);
check.sameJson(tarn.config.atlas(), {width: 0, height: false}, 'a text width is 0, null is 0');
q.setAtlasThreshold(2 ** 32 + 7, NaN);
check.sameJson(tarn.config.atlas(), {width: 7, height: true}, 'width wraps, NaN is true');
check.throws(() => q.setAtlasThreshold(1, {valueOf() { throw new Error('no height'); }}),
             'no height', 'a height that throws reaches the script');

check.done();
