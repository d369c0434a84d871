// TV state: external-box (MBR) activities read from the block the service
// hands out, the TV context state's bit 0, the exhibition and MLS flags, the
// MLS state and installed panels.
tarn.load('lib/check.js');

const q = new QDUtil();

const logged = check.logged;

// jsoncpp's styled text of one activity: keys sorted, three-space indent.
function styled(source, mode, name) {
  return '{\n   "ativityName" : ' + JSON.stringify(name) + ',\n   "nActivityMode" : ' + mode +
         ',\n   "nMbrSource" : ' + source + '\n}\n';
}

// --- getMbrSourceCount -----------------------------------------------------
{
  tarn.sim.clearJournal();
  const [count, lines] = logged(() => q.getMbrSourceCount());
  check.equal(count, 2, 'two activities on the built-in set');
  check.sameJson(lines, [[2, 'HandleGetMbrSourceCount BEGIN'],
                         [2, 'HandleGetMbrSourceCount END, retCount:2']], 'BEGIN and END lines');
  check.equal(tarn.sim.journal('getActivityInfo').length, 1, 'the block is fetched once');
  check.equal(tarn.sim.journal('isSupported').length, 1, 'support is asked once');

  const sixteen = [];
  for (let i = 0; i < 16; i++) sixteen.push({ mode: i, source: 100 + i, name: 'Box ' + i });
  tarn.sim.set('externalBox.activities', sixteen);
  check.equal(q.getMbrSourceCount(), 16, 'a full block of sixteen');

  tarn.sim.forceResult('ExternalBoxClient.isSupported', false);
  const [unsupported, unsupportedLines] = logged(() => q.getMbrSourceCount());
  check.equal(unsupported, 0, 'a block but no support: 0');
  check.sameJson(unsupportedLines, [[2, 'HandleGetMbrSourceCount BEGIN']], 'only the BEGIN line');
  tarn.sim.forceResult('getActivityInfo', null);
  check.equal(q.getMbrSourceCount(), 0, 'no block: 0');
}

// --- getMbrInfoByIndex -----------------------------------------------------
{
  tarn.sim.reset();
  // The bridge's connection to the context service outlives the reset.
  tarn.sim.set('appContext.connections', 1);
  const [text, lines] = logged(() => q.getMbrInfoByIndex(0));
  check.equal(text, styled(33, 1, 'Watch Cable Box'), 'record 0 as jsoncpp\'s styled text');
  check.sameJson(lines, [[2, 'HandleGetMbrInfoByIndex BEGIN'],
                         [3, 'HandleGetMbrInfoByIndex END, mbrInfo:' + text]],
                 'BEGIN, then the text at detail level');
  const parsed = JSON.parse(text);
  check.ok('ativityName' in parsed, 'the output carries the key "ativityName"');
  check.ok(!('activityName' in parsed), 'and not the corrected spelling');
  check.sameJson(parsed, { ativityName: 'Watch Cable Box', nActivityMode: 1, nMbrSource: 33 },
                 'source, mode and name of record 0');
  check.equal(q.getMbrInfoByIndex(1), styled(34, 2, 'Play Game Console'), 'record 1');

  // Records past the count but inside the block read as zeroes, unchecked.
  check.equal(q.getMbrInfoByIndex(2), styled(0, 0, ''), 'record 2, past the count: zeroes');
  check.equal(q.getMbrInfoByIndex(15), styled(0, 0, ''), 'record 15, the block\'s last');

  // Indices outside the block's sixteen records answer as an unsupported set.
  for (const [what, index] of [['16', 16], ['-1', -1], ['a huge index', 1e10],
                               ['2^32 (not wrapped to 0)', 4294967296], ['2^31', 2147483648],
                               ['-2^31', -2147483648], ['Infinity', Infinity],
                               ['-Infinity', -Infinity], ['-1.5', -1.5], ['Number.MAX_VALUE', Number.MAX_VALUE]]) {
    const [answer, outLines] = logged(() => q.getMbrInfoByIndex(index));
    check.equal(answer, '', 'index ' + what + ' lies outside the block: ""');
    check.sameJson(outLines, [[2, 'HandleGetMbrInfoByIndex BEGIN']], 'index ' + what + ': only BEGIN');
  }
  for (const [what, index, record] of [['1.9', 1.9, 1], ['-0.5', -0.5, 0], ['NaN', NaN, 0],
                                       ['"1"', '1', 1], ['no argument', undefined, 0],
                                       ['null', null, 0], ['true', true, 1], ['15.99', 15.99, 15]]) {
    const expected = record === 0 ? styled(33, 1, 'Watch Cable Box')
                   : record === 1 ? styled(34, 2, 'Play Game Console') : styled(0, 0, '');
    const answer = index === undefined ? q.getMbrInfoByIndex() : q.getMbrInfoByIndex(index);
    check.equal(answer, expected, 'index ' + what + ' reads record ' + record);
  }
  check.throws(() => q.getMbrInfoByIndex(1n), 'Cannot convert a BigInt value to a number',
               'a BigInt index is the script\'s own TypeError');
  check.throws(() => q.getMbrInfoByIndex({ valueOf() { throw new RangeError('no index'); } }),
               'no index', 'an index whose valueOf throws stops the call with that error');

  // Names: quotes, backslashes, multi-byte text, and the longest the block holds.
  const odd = 'Box "A" \\ caf\u00e9 \u6771\u4eac \ud83d\udcfa';
  const longest = 'x'.repeat(11852 - 16 - 1);
  tarn.sim.set('externalBox.activities', [{ mode: -7, source: -2147483648, name: odd },
                                          { mode: 2147483647, source: 5, name: longest }]);
  check.sameJson(JSON.parse(q.getMbrInfoByIndex(0)),
                 { ativityName: odd, nActivityMode: -7, nMbrSource: -2147483648 },
                 'escaped and multi-byte names and extreme integers survive');
  const last = JSON.parse(q.getMbrInfoByIndex(1));
  check.equal(last.ativityName.length, longest.length, 'a name filling its record is read whole');
  check.equal(last.nActivityMode, 2147483647, 'the largest mode');

  const sixteen = [];
  for (let i = 0; i < 16; i++) sixteen.push({ mode: i, source: 100 + i, name: 'Box ' + i });
  tarn.sim.set('externalBox.activities', sixteen);
  check.equal(q.getMbrInfoByIndex(15), styled(115, 15, 'Box 15'), 'record 15 of a full block');
  check.equal(q.getMbrInfoByIndex(16), '', 'and nothing after it');

  tarn.sim.set('externalBox.supported', false);
  const [none, noneLines] = logged(() => q.getMbrInfoByIndex(0));
  check.equal(none, '', 'a set without an external box answers ""');
  check.equal(q.getMbrSourceCount(), 0, 'while getMbrSourceCount answers 0');
  check.sameJson(noneLines, [[2, 'HandleGetMbrInfoByIndex BEGIN']], 'only the BEGIN line');
  check.equal(q.getMbrInfoByIndex(1n), '', 'no box: the index is never read');
  tarn.sim.set('externalBox.supported', true);
  tarn.sim.forceResult('ExternalBoxClient.isSupported', false);
  check.equal(q.getMbrInfoByIndex(0), '', 'a block but no support: ""');
}

// --- tvContextState --------------------------------------------------------
{
  for (const [state, shown] of [[1, true], [3, true], [5, true], [0x80000001, true],
                                [4294967295, true], [0, false], [2, false], [4294967294, false]]) {
    tarn.sim.set('tv.contextState', state);
    const [answer, lines] = logged(() => q.tvContextState());
    check.equal(answer, shown, 'state ' + state + ': ' + shown + ' (only bit 0 counts)');
    check.sameJson(lines, [[2, 'tvcontext_query_state call!'], [2, 'tvcontext_state =' + state],
                           [2, shown ? 'TV is shown' : 'TV is not shown']],
                   'state ' + state + ' is logged unsigned');
  }
  tarn.sim.set('tv.contextState', 1);
  tarn.sim.forceResult('queryTvContextState', -2);
  const [failed, failedLines] = logged(() => q.tvContextState());
  check.equal(failed, false, 'a failed query leaves the preset 0: not shown');
  check.equal(failedLines[1][1], 'tvcontext_state =0', 'the preset state is logged');
  tarn.sim.set('tv.contextState', 0);
  q.launchLastSource();
  check.equal(q.tvContextState(), true, 'relaunching the last source brings the TV to the front');
}

// --- isCESMode, isMLSSupport, getMLSstate ----------------------------------
{
  for (const [method, key, text] of [['isCESMode', 343, '[TARN]---HandleIsCESMode 343'],
                                     ['isMLSSupport', 319, '[TARN]---HandleIsMLSSupport 319']]) {
    tarn.sim.set('systemInfo.' + key, true);
    tarn.sim.clearJournal();
    const [on, lines] = logged(() => q[method]());
    check.equal(on, true, method + ' follows key ' + key + ' (true)');
    check.sameJson(lines, [[2, text]], method + ' logs the key');
    check.equal(tarn.sim.journal('system_info_get_value_bool')[0].arguments[0], key, method + ' asks key ' + key);
    tarn.sim.set('systemInfo.' + key, false);
    check.equal(q[method](), false, method + ' follows key ' + key + ' (false)');
    tarn.sim.set('systemInfo.' + key, true);
    tarn.sim.forceResult('system_info_get_value_bool', -5);
    check.equal(q[method](), false, method + ': a failed query answers the preset false');
    tarn.sim.remove('systemInfo.' + key);
    check.equal(q[method](), false, method + ': a missing key answers false');
  }

  for (const [state, answer] of [[0, false], [1, true], [2, false], [-1, false], [257, false]]) {
    tarn.sim.set('vconf.memory/mls/state', state);
    tarn.sim.clearJournal();
    const [mls, lines] = logged(() => q.getMLSstate());
    check.equal(mls, answer, 'getMLSstate for state ' + state + ': ' + answer);
    check.sameJson(lines, [], 'getMLSstate writes no line');
    check.equal(tarn.sim.journal('vconf_get_int')[0].arguments[0], 'memory/mls/state', 'reads the MLS key');
  }
  tarn.sim.set('vconf.memory/mls/state', 'on');
  check.equal(q.getMLSstate(), false, 'a text key is not 1');
  tarn.sim.set('vconf.memory/mls/state', 1);
  tarn.sim.forceResult('vconf_get_int', -1);
  check.equal(q.getMLSstate(), false, 'a failed read keeps the preset 0');
  tarn.sim.remove('vconf.memory/mls/state');
  check.equal(q.getMLSstate(), false, 'a missing key: false');
}

// --- isExistPanel ----------------------------------------------------------
{
  tarn.sim.reset();
  tarn.sim.set('appContext.connections', 1);
  const apps = tarn.sim.root() + '/opt/usr/apps/';
  const [noArg, noArgLines] = logged(() => q.isExistPanel());
  check.equal(noArg, false, 'no argument: false');
  check.sameJson(noArgLines, [[3, 'HandleIsExistPanel : undefined'], [2, 'Argument Error']],
                 'the argument is read and logged, then "Argument Error"');

  const [ok, okLines] = logged(() => q.isExistPanel('weather'));
  check.equal(ok, true, 'a panel with its script and binary: true');
  check.sameJson(okLines, [
    [3, 'HandleIsExistPanel : weather'],
    [2, 'panelpath : ' + apps + 'weather//src/app.js'],
    [2, 'package_id : org.tarn.weather'],
    [2, 'binary_path : ' + apps + 'org.tarn.weather/bin/org.tarn.weather'],
    [2, 'panel is ok : weather'],
  ], 'the paths and the verdict');

  check.ok(tarn.sim.readFile('/opt/usr/apps/music/src/app.js') !== null, 'music\'s panel script is there');
  check.equal(tarn.sim.readFile('/opt/usr/apps/org.tarn.music/bin/org.tarn.music'), null,
              'and its binary is not');
  const [noBinary, noBinaryLines] = logged(() => q.isExistPanel('music'));
  check.equal(noBinary, false, 'a panel whose script exists but whose binary is missing: false');
  check.sameJson(noBinaryLines[noBinaryLines.length - 1], [2, 'panel is not ok : music'], 'not ok');

  const [absent, absentLines] = logged(() => q.isExistPanel('nothere'));
  check.equal(absent, false, 'no panel: false');
  check.equal(absentLines.length, 5, 'four lines before the verdict');
  check.sameJson(absentLines[4], [2, 'panel is not ok : nothere'], 'not ok');

  tarn.sim.set('panels', [{ appId: 'music', package: 'org.tarn.music', binary: true }]);
  check.equal(q.isExistPanel('music'), true, 'installing the binary makes the panel ok');
  check.equal(q.isExistPanel(''), false, 'an empty id: false');
  check.equal(q.isExistPanel(undefined), false, 'an explicit undefined is the id "undefined"');
  check.throws(() => q.isExistPanel(Symbol('id')), 'Cannot convert a Symbol value to a string',
               'a Symbol id is the script\'s own TypeError');
}

check.done();
