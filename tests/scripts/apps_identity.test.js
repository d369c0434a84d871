// App identity and versions: package name, widget ids by data area, widget
// and app versions from the manifests, running apps and the home app in
// front, with their log lines and the platform calls they make.
tarn.load('lib/check.js');

const q = new QDUtil();
const root = tarn.sim.root();
tarn.log.capture();

function lines() {
  return tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge');
}
function texts(records) {
  return records.map((r) => r.text);
}
function hasLine(records, text, what) {
  const found = records.filter((r) => r.text === text);
  check.equal(found.length > 0 ? found[0].level : -1, 2, what + ' logs ' + JSON.stringify(text));
}
// The running app's data path as the next GetTarnDataPath resolves it.
function runAs(devicePath) {
  tarn.sim.forceResult('devicePath', root + devicePath);
}
function manifest(devicePath, text) {
  tarn.sim.set('files["' + devicePath + '"]', text);
}

// --- getAppId ---------------------------------------------------------------
tarn.sim.set('aul.self', { appId: 'org.tarn.home.ui', package: 'org.tarn.home', status: 2 });
lines();
tarn.sim.clearJournal();
check.equal(q.getAppId(), 'org.tarn.home', 'getAppId answers the package name, not the app id');
let log = lines();
check.sameJson(texts(log), ['[Tarn]appid[org.tarn.home.ui]', '[Tarn]pkgname[org.tarn.home]'],
               'getAppId logs the app id then the package name');
check.equal(log[0].level, 2, 'at level 2');
let calls = tarn.sim.journal('aul');
check.sameJson(calls.map((c) => c.operation), ['aul_app_get_appid_bypid', 'aul_app_get_pkgname_bypid'],
               'app id then package name, by pid');
check.equal(calls[0].arguments[0], calls[1].arguments[0], 'both of the same pid');
check.equal(calls[0].arguments[2], 255, 'buffers of 255');
tarn.sim.forceResult('aul_app_get_pkgname_bypid', -1);
check.equal(q.getAppId(), '', 'a failed look-up gives the empty text');

// --- getWidgetId ------------------------------------------------------------
check.equal(q.getWidgetId(), '111477001206', 'the default app runs in tarnapps/apps_temp');
runAs('/opt/usr/apps/tarnapps/soccer_temp/org.tarn.soccer');
check.equal(q.getWidgetId(), '111477001205', 'soccer area');
runAs('/opt/usr/apps/firstscreen_temp/fs');
check.equal(q.getWidgetId(), '111477001200', 'first-screen area');
runAs('/opt/usr/apps/tarnapps/apps/org.tarn.apps');
check.equal(q.getWidgetId(), '', 'a path under no listed area gives the empty text');
runAs('/opt/usr/apps/tarnapps/apps_tem');
check.equal(q.getWidgetId(), '', 'a data path shorter than the area does not match');
// Two areas that both hold the data path: the later row wins.
tarn.sim.clearJournal();
runAs('/x/a/b/c');
tarn.sim.forceResult('devicePath', root + '/x/a');  // row 1 (firstscreen_temp)
tarn.sim.forceResult('devicePath', root + '/nowhere');
tarn.sim.forceResult('devicePath', root + '/nowhere');
tarn.sim.forceResult('devicePath', root + '/x/a/b');  // row 4 (games_temp)
check.equal(q.getWidgetId(), '111477001202', 'when two areas match, the later row wins');
calls = tarn.sim.journal('devicePath');
check.equal(calls.length, 8, 'the data path and all seven areas are resolved, no early exit');
check.sameJson(calls.slice(1).map((c) => c.arguments[0]),
               ['firstscreen_temp', 'tarnapps/apps_temp', 'tarnapps/clips_temp', 'tarnapps/games_temp',
                'tarnapps/mycontents_temp', 'tarnapps/newson_temp', 'tarnapps/soccer_temp']
                   .map((a) => '/opt/usr/apps/' + a),
               'the rows in table order');
runAs('/opt/usr/apps/tarnapps/newson_temp/n');
check.equal(q.getWidgetId('ignored', 7), '111477001203', 'arguments are not read');

// --- getWidgetVersion -------------------------------------------------------
lines();
check.equal(q.getWidgetVersion(), '3.2.10', 'the apps app\'s manifest version');
log = lines();
const data = root + '/opt/usr/apps/tarnapps/apps_temp/org.tarn.apps';
check.sameJson(texts(log), ['[Tarn]GetTarnDataPath[' + data + ']',
                            '[Tarn]src_path[' + root + '/opt/usr/apps/tarnapps/apps/src/config.xml]',
                            '[Tarn]result[1]', '[Tarn]widget_ver[3.2.10]'],
               'getWidgetVersion logs its steps');
check.ok(log.every((r) => r.level === 2), 'all at level 2');

// The first-screen app: the vconf value, no file touched.
runAs('/opt/usr/apps/firstscreen_temp/org.tarn.firstscreen');
tarn.sim.clearJournal();
check.equal(q.getWidgetVersion(), '5.1.2', 'the first-screen app answers the home-deck version');
check.equal(tarn.sim.journal('vconf_get_str')[0].arguments[0], 'db/tarn/homedeck_version', 'key read');
check.equal(tarn.sim.journal('devicePath').length, 1, 'no file path resolved beyond the data path');
log = lines();
check.sameJson(texts(log).slice(1), ['[Tarn]db/tarn/homedeck_version vconf_get_str[5.1.2]'],
               'logs the vconf value and nothing else');
// Unset key: falls through to the first screen's own manifest.
tarn.sim.remove('vconf["db/tarn/homedeck_version"]');
runAs('/opt/usr/apps/firstscreen_temp/org.tarn.firstscreen');
check.equal(q.getWidgetVersion(), '', 'unset key and no manifest: empty text');
log = lines();
hasLine(log, '[Tarn]db/tarn/homedeck_version vconf_get_str Fail', 'unset key');
hasLine(log, '[Tarn]src_path[' + root + '/opt/usr/apps/firstscreen/src/config.xml]', 'fall-through');
hasLine(log, '[Tarn]result[0]', 'missing manifest');
manifest('/opt/usr/apps/firstscreen/src/config.xml', '<widget><ver>9.9.1</ver></widget>');
runAs('/opt/usr/apps/firstscreen_temp/org.tarn.firstscreen');
check.equal(q.getWidgetVersion(), '9.9.1', 'unset key: the manifest\'s version');
tarn.sim.set('vconf["db/tarn/homedeck_version"]', '5.1.2');

// My-contents reads src2 under the same parent.
runAs('/opt/usr/apps/tarnapps/mycontents_temp/org.tarn.mycontents');
check.equal(q.getWidgetVersion(), '1.8.0', 'my-contents version from src2/config.xml');
hasLine(lines(), '[Tarn]src_path[' + root + '/opt/usr/apps/tarnapps/mycontents/src2/config.xml]',
        'my-contents path');

runAs('/opt/usr/apps/other/x');
check.equal(q.getWidgetVersion(), '', 'no _temp in the data path');
hasLine(lines(), '[Tarn] Not found _temp', 'no _temp');

// Manifests with parts missing.
const gamesManifest = '/opt/usr/apps/tarnapps/games/src/config.xml';
function gamesVersion(text) {
  manifest(gamesManifest, text);
  lines();
  runAs('/opt/usr/apps/tarnapps/games_temp/org.tarn.games');
  return q.getWidgetVersion();
}
check.equal(gamesVersion('<widget><name>g</name></widget>'), '', 'a widget without ver');
hasLine(lines(), '[Tarn] XML pElem Fail!', 'no ver');
check.equal(gamesVersion('<config><ver>1</ver></config>'), '', 'no widget element');
hasLine(lines(), '[Tarn] XML pRoot Fail!', 'no widget');
check.equal(gamesVersion('<widget><ver></ver></widget>'), '', 'an empty ver');
hasLine(lines(), '[Tarn] XML GetText Fail!', 'no text');
check.equal(gamesVersion('<?xml version="1.0"?>\n<!-- c --><widget id="a&gt;b"><ver>2.5</ver></widget>'),
            '2.5', 'declaration, comment and attributes');
// Manifests that are not XML, or nest without end.
const badManifests = [
  ['', 'an empty manifest'], ['<widget><ver>1.0', 'a truncated manifest'],
  ['<widget><ver>1</widget></ver>', 'a malformed manifest'], ['\u0000\u0001\u00ff<<', 'binary bytes'],
  ['<widget>' + '<a>'.repeat(100000) + '</a>'.repeat(100000) + '<ver>1</ver></widget>',
   'elements nested 100,000 levels'],
  ['<widget><ver>1</ver>' + '<a x=">">'.repeat(100000), 'deep, unclosed, with quoted brackets'],
  ['<widget><ver>1</ver><a b=x"/>' + '<a>'.repeat(100000) + '<a b=x"/>', 'stray quotes around deep nesting'],
];
for (const [text, what] of badManifests) {
  check.equal(gamesVersion(text), '', what + ': getWidgetVersion gives the empty text');
  check.equal(lines().pop().text, '[Tarn] XML LoadFile Fail!', what + ': load failure logged');
  manifest('/opt/usr/apps/VCApp/bad/src/config.xml', text);
  lines();
  check.equal(q.getLWAppVersion('bad'), '', what + ': getLWAppVersion gives the empty text');
  check.sameJson(texts(lines()), ['Failed to load pRoot', 'version : '], what + ': no root found');
}
check.equal(gamesVersion('<widget><ver>' + 'v'.repeat(100000) + '</ver></widget>'), 'v'.repeat(100000),
            'a long version passes whole');
// Elements nest 64 levels at most, as JSON does: the widget plus 63 levels
// still reads, one more is refused as a manifest that does not load.
check.equal(gamesVersion('<widget>' + '<a>'.repeat(63) + '</a>'.repeat(63) + '<ver>7</ver></widget>'), '7',
            '64 levels of elements still read');
check.equal(gamesVersion('<widget>' + '<a>'.repeat(64) + '</a>'.repeat(64) + '<ver>7</ver></widget>'), '',
            '65 levels of elements are refused');
check.equal(lines().pop().text, '[Tarn] XML LoadFile Fail!', '65 levels: load failure logged');
tarn.sim.remove('files["' + gamesManifest + '"]');
tarn.sim.set('folders', [gamesManifest]);
lines();
runAs('/opt/usr/apps/tarnapps/games_temp/org.tarn.games');
check.equal(q.getWidgetVersion(), '', 'a folder where the manifest should be');
check.sameJson(texts(lines()).slice(2), ['[Tarn]result[1]', '[Tarn] XML LoadFile Fail!'],
               'it exists, but does not load');
tarn.sim.set('folders', ['/opt/usr/apps/VCApp/dir/src/config.xml']);
check.equal(q.getLWAppVersion('dir'), '', 'getLWAppVersion of a folder: the empty text');
check.sameJson(texts(lines()), ['Failed to load pRoot', 'version : '], 'no root in a folder');
tarn.sim.set('folders', []);
runAs('/opt/usr/apps/tarnapps/games_temp/org.tarn.games');
check.equal(q.getWidgetVersion(), '2.0.4', 'the installed manifest is back');

// Arguments whose conversion throws reach the script unchanged.
check.throws(() => q.checkAppIsRunning({ toString() { throw new Error('no name'); } }), 'no name',
             'checkAppIsRunning: a throwing toString');
let thrown = null;
try {
  q.getLWAppVersion(Symbol('s'));
} catch (e) {
  thrown = e;
}
check.ok(thrown instanceof TypeError, 'getLWAppVersion: a Symbol gives the script its TypeError');

// --- getLWAppVersion --------------------------------------------------------
tarn.sim.clearJournal();
lines();
check.equal(q.getLWAppVersion('weather'), '1.4.2', 'a VCApp app\'s version');
hasLine(lines(), 'version : 1.4.2', 'the version');
check.equal(tarn.sim.journal('devicePath')[0].arguments[0], '/opt/usr/apps/VCApp',
            'the VCApp area');
check.equal(q.getLWAppVersion('music'), '', 'a manifest without ver: the empty text, not 0');
log = lines();
hasLine(log, 'Failed to load pElem', 'no ver');
hasLine(log, 'version : ', 'the empty version');
const missing = q.getLWAppVersion('nosuchapp');
check.equal(missing, 0, 'a missing app: the number 0');
log = lines();
check.equal(log.length, 1, 'one line for a missing manifest');
check.ok(log[0].text.indexOf(root + '/opt/usr/apps/VCApp/nosuchapp/src/config.xml') >= 0,
         'it names the manifest: ' + log[0].text);
manifest('/opt/usr/apps/VCApp/tv/src/config.xml', '<widget><ver></ver></widget>');
check.equal(q.getLWAppVersion('tv'), '', 'a ver without text: the empty text, not 0');
log = lines();
check.sameJson(texts(log), ['Failed to get widget_ver', 'version : '], 'the missing text logged');
check.equal(log[0].function, 'returnVersion', 'by the manifest reader');
manifest('/opt/usr/apps/VCApp/radio/src/config.xml', '<other><ver>1</ver></other>');
check.equal(q.getLWAppVersion('radio'), '', 'a manifest without widget');
hasLine(lines(), 'Failed to load pRoot', 'no widget');
check.equal(q.getLWAppVersion(), 0, 'no argument: the app "undefined" is missing');

// --- getCallerAppID ---------------------------------------------------------
lines();
check.equal(q.getCallerAppID(), 0, 'getCallerAppID always 0');
check.sameJson(texts(lines()), ['can not get caller pid'], 'and says why');

// --- checkAppIsRunning ------------------------------------------------------
check.equal(q.checkAppIsRunning(), false, 'no argument');
check.sameJson(texts(lines()), ['Wrong Argument!'], 'no argument logged');
check.equal(q.checkAppIsRunning(''), false, 'empty name');
check.sameJson(texts(lines()), ['Wrong app_name!'], 'empty name logged');
tarn.sim.clearJournal();
check.equal(q.checkAppIsRunning('org.tarn.games'), true, 'a running app');
check.sameJson(texts(lines()), ['app_name is org.tarn.games', '[app] org.tarn.games is running'],
               'running logged');
check.equal(tarn.sim.journal('aul_app_is_running')[0].arguments[0], 'org.tarn.games', 'asked aul');
check.equal(q.checkAppIsRunning('org.tarn.nothing'), false, 'an app that does not run');
check.sameJson(texts(lines()),
               ['app_name is org.tarn.nothing', '[app] org.tarn.nothing is not running'],
               'not running logged');

// --- getLastTarnApp ---------------------------------------------------------
tarn.sim.clearJournal();
check.equal(q.getLastTarnApp(), 'org.tarn.games',
            'games visible and apps in the background: games');
check.sameJson(texts(lines()), ['getLastTarnApp appName[org.tarn.games]'], 'logged');
check.sameJson(tarn.sim.journal('aul').map((c) => c.operation + ' ' + c.arguments[0]),
               ['aul_app_get_pid org.tarn.apps', 'aul_app_get_status_bypid 1204',
                'aul_app_get_pid org.tarn.games', 'aul_app_get_status_bypid 1233'],
               'walks the home apps in order and stops at the first in front');
tarn.sim.set('aul.running.0.status', 2);
check.equal(q.getLastTarnApp(), 'org.tarn.apps', 'the first in front wins');
tarn.sim.set('aul.running.0.status', 4);
tarn.sim.set('aul.running.1.status', 4);
lines();
check.equal(q.getLastTarnApp(), '', 'none in front: empty');
check.equal(lines().length, 0, 'and no line');
tarn.sim.set('aul.running.2.status', 3);
check.equal(q.getLastTarnApp(), 'org.tarn.search-all', 'the last entry is reached');

check.done();
