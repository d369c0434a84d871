// Stage hints, window language, screen saver and feedback sounds: the calls
// the simulated set receives (journal), the log lines, the results, and the
// sound played on the script thread after the call has returned.
tarn.load('lib/check.js');

const q = new QDUtil();
const later = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
const bridgeLines = () => tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge');
const ops = (filter) => tarn.sim.journal(filter).map((e) => [e.operation, e.arguments]);

// --- setClutterStageHint ----------------------------------------------------

function stageHint() {
  tarn.log.capture();
  check.equal(q.setClutterStageHint('wm.policy.win.user.geometry', '1'), true, 'hint: true');
  const hints = tarn.stage.hints();
  check.sameJson(hints[hints.length - 1], {key: 'wm.policy.win.user.geometry', value: '1'},
                 'hint: added to the default stage');
  const lines = bridgeLines();
  check.equal(lines.length, 1, 'hint: one log line');
  check.equal(lines[0].text, 'Hint Key[wm.policy.win.user.geometry] Value[1]', 'hint: log text');
  check.equal(lines[0].level, 2, 'hint: log level 2');
  check.equal(lines[0].function, 'HandleSetClutterStageHint', 'hint: logged by its handler');

  check.equal(q.setClutterStageHint(), true, 'hint without arguments: true');
  const after = tarn.stage.hints();
  check.sameJson(after[after.length - 1], {key: 'undefined', value: 'undefined'},
                 'hint without arguments: both texts are the undefined value converted');
  check.equal(bridgeLines()[0].text, 'Hint Key[undefined] Value[undefined]',
              'hint without arguments: log text');

  check.equal(q.setClutterStageHint(7, null), true, 'hint of a number and null: true');
  const third = tarn.stage.hints();
  check.sameJson(third[third.length - 1], {key: '7', value: 'null'},
                 'hint of a number and null: converted as texts');
  const count = tarn.stage.hints().length;
  check.throws(() => q.setClutterStageHint({toString() { throw new Error('no key'); }}, 'v'),
               'no key', 'hint: a key that throws reaches the script');
  check.throws(() => q.setClutterStageHint('k', Symbol('v')),
               'Cannot convert a Symbol value to a string', 'hint: a Symbol value throws');
  check.equal(tarn.stage.hints().length, count, 'hint: nothing added when reading failed');
  tarn.log.stop();
}

// --- updateWindowLanguage ---------------------------------------------------

function windowLanguage() {
  tarn.log.capture();
  check.equal(q.updateWindowLanguage('C'), true, 'language C: true');
  let lines = bridgeLines();
  check.equal(lines.length, 1, 'language: one log line');
  check.equal(lines[0].text, 'HandleUpdateWindowLanguage :C', 'language: log text');
  check.equal(lines[0].level, 3, 'language: log level 3');
  check.equal(q.updateWindowLanguage('xx_NOWHERE.UTF-8'), true, 'unknown locale: still true');
  lines = bridgeLines();
  check.equal(lines[0].text, 'HandleUpdateWindowLanguage :xx_NOWHERE.UTF-8',
              'unknown locale: logged as given');
  check.equal(q.updateWindowLanguage(), true, 'language without argument: true');
  check.equal(bridgeLines()[0].text, 'HandleUpdateWindowLanguage :undefined',
              'language without argument: the undefined value converted');
  check.equal(q.updateWindowLanguage('x'.repeat(100000)), true, 'a 100000-byte locale: true');
  bridgeLines();
  tarn.log.stop();
}

// The simulated set keeps the language asked for, whether or not the PC has
// the locale, and journals each call with the PC's answer.
function windowLanguageOnTheSet() {
  tarn.sim.reset();
  tarn.sim.clearJournal();
  check.equal(tarn.sim.get('window.language'), null, 'no language set yet: null');
  q.updateWindowLanguage('fr_FR');
  check.equal(tarn.sim.get('window.language'), 'fr_FR', 'the language set: window.language');
  q.updateWindowLanguage('C');
  check.equal(tarn.sim.get('window.language'), 'C', 'a later language replaces it');
  const calls = tarn.sim.journal('libc.setlocale');
  check.sameJson(calls.map((c) => c.arguments), [[5, 'fr_FR'], [5, 'C']],
                 'setlocale(LC_MESSAGES, text), journaled');
  check.equal(calls[1].result, 'C', 'the PC\'s answer is the call\'s result');
  tarn.sim.forceResult('setlocale', null);
  check.equal(q.updateWindowLanguage('de_DE'), true, 'a failing setlocale: still true');
  check.equal(tarn.sim.get('window.language'), 'C', 'and the language is left as it was');
  q.updateWindowLanguage();
  check.equal(tarn.sim.get('window.language'), 'undefined', 'no argument: the converted text');
}

// --- screen saver -----------------------------------------------------------

function screenSaver() {
  tarn.sim.clearJournal();
  check.equal(q.activateScreenSaver(), true, 'saver defaults: true');
  check.sameJson(ops('ScreenSaverClient'), [['activate', ['DEFAULT', 0, 0, 2, 2]]],
                 'saver without arguments: "DEFAULT", 0, 0, 2, 2');
  check.equal(tarn.sim.get('screenSaver.active'), true, 'saver: the set shows it');
  check.equal(q.deactivateScreenSaver('ignored'), true, 'deactivate: true');
  check.equal(tarn.sim.get('screenSaver.active'), false, 'deactivate: the set hides it');

  tarn.sim.clearJournal();
  check.equal(q.activateScreenSaver('X'), true, 'saver "X": true');
  check.sameJson(ops('ScreenSaverClient.activate'), [['activate', ['X', 0, 0, 0, 0]]],
                 'saver "X": the four missing numbers read as undefined, so 0');

  tarn.sim.clearJournal();
  q.activateScreenSaver('PHOTO', -1, 4294967297, 3.9, '12', 99);
  check.sameJson(ops('ScreenSaverClient.activate'),
                 [['activate', ['PHOTO', 4294967295, 1, 3, 12]]],
                 'saver: numbers truncated to unsigned 32 bits, argument 5 ignored');

  tarn.sim.clearJournal();
  q.activateScreenSaver(undefined);
  check.sameJson(ops('ScreenSaverClient.activate'), [['activate', ['undefined', 0, 0, 0, 0]]],
                 'saver: an explicit undefined is an argument, not the defaults');

  tarn.sim.forceResult('ScreenSaverClient.activate', -2);
  check.equal(q.activateScreenSaver(), false, 'saver: a non-zero status answers false');
  tarn.sim.forceResult('ScreenSaverClient.deactivate', 3);
  check.equal(q.deactivateScreenSaver(), false, 'deactivate: a non-zero status answers false');

  tarn.sim.set('power.state', 2);
  check.equal(q.activateScreenSaver(), false, 'saver in standby: the service refuses, false');
  tarn.sim.set('power.state', 0);

  tarn.sim.clearJournal();
  check.throws(() => q.activateScreenSaver('T', 1, {valueOf() { throw new RangeError('bad'); }}),
               'bad', 'saver: a number that throws reaches the script');
  check.equal(tarn.sim.journal('ScreenSaverClient').length, 0,
              'saver: no service call when reading failed');
}

// --- playAudio --------------------------------------------------------------

const selectors = [
  [0, -1], [1, -1], [2, 65], [3, 66], [4, 68], [5, 69], [6, 67], [7, 73], [8, 72],
  [9, null], [10, null], [11, -1], [-3, -1], [3.7, 66], [-0.5, -1], [NaN, -1],
  [2147483650, -1], [4294967298, 65],
];

async function playAudio() {
  for (const [selector, pattern] of selectors) {
    const what = 'playAudio(' + selector + ')';
    tarn.sim.clearJournal();
    tarn.log.capture();
    check.equal(q.playAudio(selector), true, what + ': true');
    check.equal(tarn.sim.journal('feedback').length, 0, what + ': nothing played inside the call');
    await later(5);
    const expected = [['feedback_initialize', []]];
    if (pattern !== null) expected.push(['feedback_play', [pattern]]);
    check.sameJson(ops('feedback'), expected,
                   what + (pattern === null ? ': plays nothing' : ': plays pattern ' + pattern));
    const lines = bridgeLines().map((r) => [r.level, r.text]);
    const wanted = [[3, 'feedback initialize success']];
    if (pattern === null) wanted.push([2, 'feedback play fail']);
    check.sameJson(lines, wanted, what + ': log lines');
    tarn.log.stop();
  }

  // The sound runs on the script thread, the one that calls the screen saver.
  tarn.sim.clearJournal();
  q.deactivateScreenSaver();
  q.playAudio(5);
  await later(5);
  const scriptThread = tarn.sim.journal('ScreenSaverClient.deactivate')[0].thread;
  check.sameJson(tarn.sim.journal('feedback').map((e) => e.thread), [scriptThread, scriptThread],
                 'sound played on the script thread');

  // Several calls: several tasks, in order, each initialising again.
  tarn.sim.clearJournal();
  q.playAudio(2);
  q.playAudio(9);
  q.playAudio(8);
  await later(5);
  check.sameJson(ops('feedback'),
                 [['feedback_initialize', []], ['feedback_play', [65]],
                  ['feedback_initialize', []],
                  ['feedback_initialize', []], ['feedback_play', [72]]],
                 'three calls: three independent sounds in order');

  // A failed initialisation is logged and the sound is still tried.
  tarn.sim.clearJournal();
  tarn.log.capture();
  tarn.sim.forceResult('feedback_initialize', -0x0201);
  tarn.sim.forceResult('feedback_play', -22);
  q.playAudio(7);
  await later(5);
  check.sameJson(ops('feedback'), [['feedback_initialize', []], ['feedback_play', [73]]],
                 'failed initialisation: plays anyway');
  check.sameJson(bridgeLines().map((r) => [r.level, r.text]),
                 [[3, 'feedback initialize fail'], [2, 'feedback play fail']],
                 'failed initialisation and play: both logged');
  tarn.log.stop();

  // Without an argument: the undefined value reads as 0, pattern -1.
  tarn.sim.clearJournal();
  check.equal(q.playAudio(), true, 'playAudio(): true');
  await later(5);
  check.sameJson(ops('feedback_play'), [['feedback_play', [-1]]], 'playAudio(): pattern -1');

  tarn.sim.clearJournal();
  check.throws(() => q.playAudio({valueOf() { throw new Error('no number'); }}), 'no number',
               'playAudio: a selector that throws reaches the script');
  await later(5);
  check.equal(tarn.sim.journal('feedback').length, 0, 'playAudio: nothing queued when reading failed');
}

(async () => {
  stageHint();
  windowLanguage();
  windowLanguageOnTheSet();
  screenSaver();
  await playAudio();
  check.done();
})();
