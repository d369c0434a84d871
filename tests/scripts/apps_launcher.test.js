// The launcher list: ids as compact JSON, whether an id is pinned, whether
// one more app fits (the advertisement tile at the fifth slot does not count),
// the failure texts, and lists of every size and shape.
tarn.load('lib/check.js');

const q = new QDUtil();
const root = tarn.sim.root();
const listPath = '/opt/usr/home/owner/share/tarnapps/first_screen/localAppList.txt';
tarn.log.capture();
function lines() {
  return tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge');
}
function texts(records) {
  return records.map((r) => r.text);
}
function apps(n, prefix) {
  const out = [];
  for (let i = 0; i < n; i++) out.push((prefix || 'org.tarn.app') + i);
  return out;
}
function withList(text) {
  tarn.sim.set('files["' + listPath + '"]', text);
}
function withApps(list) {
  if (listPath in tarn.sim.get('files')) tarn.sim.remove('files["' + listPath + '"]');
  tarn.sim.set('launcher.apps', list);
}

// --- getLauncherList --------------------------------------------------------
lines();
tarn.sim.clearJournal();
const expected = '["org.tarn.apps","org.tarn.games","org.tarn.mycontents","org.tarn.search-all",' +
    '"ads","org.tarn.weather","org.tarn.music"]\n';
check.equal(q.getLauncherList(), expected, 'the pinned ids, compact, with one trailing newline');
check.sameJson(texts(lines()), ['[HandleGetLauncherList]', '[HandleGetLauncherList] Elements size : 7',
                                '[HandleGetLauncherList] result : (' + expected + ')'],
               'the tag line, the size and the result');
const mk = tarn.sim.journal('tzplatform_mkpath');
check.sameJson(mk.map((c) => c.arguments), [[17, 'owner/share/tarnapps/first_screen/localAppList.txt']],
               'the list\'s path from variable 17');

withApps([]);
check.equal(q.getLauncherList(), 'null\n', 'no entries: the writer\'s text for null');
withList('{"other": [1, 2]}');
check.equal(q.getLauncherList(), 'null\n', 'a root without "data": the null text');
check.equal(q.fernIsContainLauncher('org.tarn.apps'), false, 'without "data": not pinned');
check.equal(q.isAvailableAddToHome(), true, 'without "data": room to add');
withList('{"data": [{"appId": "a"}, {"name": "no id"}, {"appId": "b", "more": {"x": 1}}]}');
check.equal(q.getLauncherList(), '["a","","b"]\n', 'an entry without appId gives the empty text');
check.equal(q.fernIsContainLauncher('c'), false, 'and never matches a non-empty id');
check.equal(q.fernIsContainLauncher('b'), true, 'other members are ignored');
withList('{"data": [{"appId": "\u00e9\u4e2d\\"q\\""}]}');
check.equal(q.getLauncherList(), '["\\u00e9\\u4e2d\\"q\\""]\n',
            'texts are written as the compact writer escapes them');

// Larger than one 1024-byte piece.
withApps(apps(60));
check.equal(JSON.parse(q.getLauncherList()).length, 60, 'a list past 1024 bytes is read in pieces as one');
withApps(apps(10000));
let list = JSON.parse(q.getLauncherList());
check.equal(list.length, 10000, 'a list of 10,000 entries is read whole');
check.equal(list[9999], 'org.tarn.app9999', 'to its last entry');
check.equal(q.fernIsContainLauncher('org.tarn.app9999'), true, 'the last of 10,000 is found');
check.equal(q.isAvailableAddToHome(), false, '10,000 entries leave no room');
const long = 'x'.repeat(4000);
withApps(apps(1500, long));
lines();
list = JSON.parse(q.getLauncherList());
check.equal(list.length, 1500, 'a list of several megabytes is read whole');
check.equal(list[1499], long + '1499', 'its last entry intact');
check.equal(lines()[1].text, '[HandleGetLauncherList] Elements size : 1500', 'size logged');

// --- fernIsContainLauncher --------------------------------------------------
withApps(['org.tarn.apps', 'org.tarn.games']);
lines();
check.equal(q.fernIsContainLauncher('org.tarn.games'), true, 'a pinned id');
check.sameJson(texts(lines()), [
  '[HandleIsContainLauncher]', '[HandleIsContainLauncher] Elements size : 2',
  '[HandleIsContainLauncher] Element 0 appId : org.tarn.apps / input id : org.tarn.games',
  '[HandleIsContainLauncher] Element 1 appId : org.tarn.games / input id : org.tarn.games'],
  'each entry logged until the match');
check.equal(q.fernIsContainLauncher('org.tarn.app'), false, 'only whole ids match');
check.equal(q.fernIsContainLauncher('org.tarn.appss'), false, 'not a longer id either');
check.equal(q.fernIsContainLauncher('ORG.TARN.APPS'), false, 'case-sensitive');
check.equal(q.fernIsContainLauncher(), false, 'no argument looks for "undefined"');
withApps(['undefined']);
check.equal(q.fernIsContainLauncher(), true, 'which an entry may be');

// --- isAvailableAddToHome ---------------------------------------------------
function withAd(n) {
  const list = apps(n - 1);
  list.splice(4, 0, 'ads');
  return list;
}
withApps(withAd(44));
lines();
check.equal(q.isAvailableAddToHome(), true, '44 entries with the tile at the fifth slot: room for one');
check.sameJson(texts(lines()), ['[HandleIsAvailableAddToHome]',
                                '[HandleIsAvailableAddToHome] Launcher size : 44',
                                '[HandleIsAvailableAddToHome] Contains AD'],
               'the size and the tile logged');
withApps(apps(44));
check.equal(q.isAvailableAddToHome(), false, '44 entries without the tile: full');
check.sameJson(texts(lines()).slice(1), ['[HandleIsAvailableAddToHome] Launcher size : 44'],
               'no tile line');
withApps(withAd(45));
check.equal(q.isAvailableAddToHome(), false, '45 entries with the tile: full');
withApps(apps(43));
check.equal(q.isAvailableAddToHome(), true, '43 entries: room');
const tileElsewhere = apps(43);
tileElsewhere.splice(3, 0, 'ads');
withApps(tileElsewhere);
check.equal(q.isAvailableAddToHome(), false, 'the tile anywhere but the fifth slot counts as an app');
withApps(['a', 'b', 'c']);
check.equal(q.isAvailableAddToHome(), true, 'a short list is padded and still has room');
withApps(['a', 'b', 'c', 'd', 'ads']);
lines();
check.equal(q.isAvailableAddToHome(), true, 'five entries with the tile');
check.equal(lines().pop().text, '[HandleIsAvailableAddToHome] Contains AD', 'the tile at index 4');

// --- failures ----------------------------------------------------------------
tarn.sim.forceResult('tzplatform_mkpath', root + '/opt/usr/home/nothing/here.txt');
check.equal(q.getLauncherList(), '', 'a list that does not open: empty text');
tarn.sim.forceResult('tzplatform_mkpath', root + '/opt/usr/home/nothing/here.txt');
check.equal(q.fernIsContainLauncher('a'), false, 'unopened: false');
tarn.sim.forceResult('tzplatform_mkpath', null);
check.equal(q.isAvailableAddToHome(), false, 'unopened: false');
check.sameJson(texts(lines()), [
  '[HandleGetLauncherList]', '[HandleGetLauncherList] file open fail',
  '[HandleIsContainLauncher]', '[HandleIsContainLauncher] file open fail',
  '[HandleIsAvailableAddToHome]', '[HandleIsContainLauncher] file open fail'],
  'open failures, the last under the borrowed tag');

const bad = [
  ['', 'an empty file'], ['{"data": [{"appId": "a"}', 'a truncated file'],
  ['{data: 1}', 'malformed JSON'], ['\u0000\u00ff\u0001{', 'binary bytes'],
  ['['.repeat(100000) + ']'.repeat(100000), 'arrays nested 100,000 levels'],
  ['{"data":'.repeat(100000), 'objects nested 100,000 levels, unclosed'],
  ['{"data": [' + '{"a":'.repeat(70) + '1' + '}'.repeat(70) + ']}', 'nesting past the reader\'s limit'],
];
for (const [text, what] of bad) {
  withList(text);
  lines();
  check.equal(q.getLauncherList(), '', what + ': empty text');
  check.equal(q.fernIsContainLauncher('a'), false, what + ': not pinned');
  check.equal(q.isAvailableAddToHome(), false, what + ': no room');
  check.sameJson(texts(lines()), [
    '[HandleGetLauncherList]', '[HandleGetLauncherList]  json parse fail',
    '[HandleIsContainLauncher]', '[HandleIsContainLauncher]  json parse fail',
    '[HandleIsAvailableAddToHome]', '[HandleIsAvailableAddToHome]  json parse fail'],
    what + ': parse failures logged with two spaces');
}
withApps(['a']);
tarn.sim.set('folders', [listPath]);
check.equal(q.getLauncherList(), '', 'a folder in the list\'s place: empty text');
check.sameJson(texts(lines()), ['[HandleGetLauncherList]', '[HandleGetLauncherList]  json parse fail'],
               'a folder opens but reads as nothing, which does not parse');
tarn.sim.set('folders', []);

withList('[1, 2]');
lines();
check.equal(q.getLauncherList(), '', 'a root that is a list: empty text');
check.equal(q.fernIsContainLauncher('a'), false, 'a root that is a list: false');
check.equal(q.isAvailableAddToHome(), false, 'a root that is a list: false');
check.sameJson(texts(lines()), [
  '[HandleGetLauncherList]', 'json exception!',
  '[HandleIsContainLauncher]', '[HandleIsContainLauncher] json exception !',
  '[HandleIsAvailableAddToHome]', '[HandleIsAvailableAddToHome] json exception!'],
  'walking failures logged');
withList('{"data": [1, 2]}');
check.equal(q.getLauncherList(), '', 'entries that are not objects');
check.equal(q.fernIsContainLauncher('a'), false, 'entries that are not objects: false');
check.equal(q.isAvailableAddToHome(), true, 'entries that are not objects do not stop the count');
withList('{"data": [{}, {}, {}, {}, "ads"]}');
lines();
check.equal(q.isAvailableAddToHome(), false, 'a fifth entry that is not an object');
check.equal(lines().pop().text, '[HandleIsAvailableAddToHome] json exception!', 'logged');
withList('{"data": "text"}');
check.equal(q.getLauncherList(), 'null\n', '"data" that is a text has no entries');
withList('{"data": {"appId": "a"}}');
check.equal(q.getLauncherList(), '', '"data" that is an object');

check.done();
