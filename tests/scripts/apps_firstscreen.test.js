// First-screen markers, the recent-apps history and the movie folders: the
// marker file and trace announcement, the RUA call order, the three-entry
// count, and removal of a folder's contents only, whatever its name.
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
function ops(filter) {
  return tarn.sim.journal(filter).map((c) => c.operation);
}

// --- firstScreenReady -------------------------------------------------------
const announcement = '-------------------------FirstScreen display-------------------------';
tarn.sim.set('files["/tmp/firstscreen_ready"]', 'stale content');
tarn.sim.clearJournal();
check.equal(q.firstScreenReady(), true, 'firstScreenReady answers true');
const marks = tarn.sim.journal('prctl');
check.equal(marks.length, 1, 'one trace marker');
check.sameJson(marks[0].arguments, [666, announcement, 69], 'option 666, the announcement, its length');
let marker = tarn.sim.readFile('/tmp/firstscreen_ready');
check.equal(marker && marker.length, 0, 'the marker is an empty file');
check.equal(q.firstScreenReady(), true, 'called again: true');
check.equal(tarn.sim.readFile('/tmp/firstscreen_ready').length, 0, 'and the marker is empty again');
tarn.sim.forceResult('prctl', -1);
check.equal(q.firstScreenReady(), true, 'the marker\'s result is ignored');
tarn.sim.set('folders', ['/tmp/firstscreen_ready']);
check.equal(q.firstScreenReady(), false, 'a marker that cannot be written: false');
tarn.sim.set('folders', []);

// --- isExistWASTempFile -----------------------------------------------------
check.equal(q.isExistWASTempFile(), true, 'both markers present');
tarn.sim.set('markers.pexReady', false);
check.equal(tarn.sim.readFile('/run/was_ready') !== null, true, 'was_ready is there');
check.equal(q.isExistWASTempFile(), false, 'only /run/was_ready present: false');
tarn.sim.set('markers', { pexReady: true, wasReady: false });
check.equal(q.isExistWASTempFile(), false, 'only /tmp/pex_ready present: false');
tarn.sim.set('markers', { pexReady: false, wasReady: false });
check.equal(q.isExistWASTempFile(), false, 'neither: false');
tarn.sim.set('markers', { pexReady: true, wasReady: true });
check.equal(lines().length, 0, 'the markers log nothing');

// --- clearHistoryRUA --------------------------------------------------------
tarn.sim.clearJournal();
check.equal(q.clearHistoryRUA(), true, 'history cleared');
check.sameJson(ops('rua'), ['rua_init', 'rua_clear_history', 'rua_fini'], 'init, clear, fini');
check.sameJson(tarn.sim.get('rua.history'), [], 'the history is empty');
check.equal(tarn.sim.get('rua.sessions'), 0, 'the session is closed');
tarn.sim.clearJournal();
tarn.sim.forceResult('rua_init', -1);
check.equal(q.clearHistoryRUA(), false, 'init fails');
check.sameJson(ops('rua'), ['rua_init'], 'nothing after a failed init');
check.sameJson(texts(lines()), ['[Tarn] RUA Init Fail!'], 'init failure logged');
tarn.sim.clearJournal();
tarn.sim.forceResult('rua_clear_history', -1);
check.equal(q.clearHistoryRUA(), false, 'clear fails');
check.sameJson(ops('rua'), ['rua_init', 'rua_clear_history'], 'no rua_fini after a failed clear');
check.sameJson(texts(lines()), ['[Tarn] RUA Clear History Fail!'], 'clear failure logged');
check.equal(tarn.sim.get('rua.sessions'), 1, 'the session is left open');
tarn.sim.set('rua.sessions', 0);

// --- clearHistoryRUAwithPKG -------------------------------------------------
tarn.sim.reset();
tarn.sim.clearJournal();
check.equal(q.clearHistoryRUAwithPKG('org.tarn.games'), true, 'a package\'s entries deleted');
check.sameJson(ops('rua'), ['rua_init', 'rua_delete_history_with_pkgname', 'rua_fini'], 'init, delete, fini');
check.equal(tarn.sim.journal('rua_delete_history_with_pkgname')[0].arguments[0], 'org.tarn.games',
            'the package named');
check.sameJson(tarn.sim.get('rua.history').map((e) => e.package), ['org.tarn.apps', 'org.tarn.weather'],
               'the others stay');
tarn.sim.clearJournal();
lines();
check.equal(q.clearHistoryRUAwithPKG(), false, 'no argument');
check.sameJson(ops('rua'), ['rua_init'], 'RUA is initialised before the argument is looked at');
check.sameJson(texts(lines()), ['Argument is wrong'], 'and the argument is wrong');
check.equal(tarn.sim.get('rua.sessions'), 1, 'left initialised');
tarn.sim.clearJournal();
tarn.sim.forceResult('rua_init', -1);
check.equal(q.clearHistoryRUAwithPKG('x'), false, 'init fails');
check.sameJson(ops('rua'), ['rua_init'], 'nothing else');
check.sameJson(texts(lines()), ['[Tarn] RUA Init Fail!'], 'init failure logged');
tarn.sim.clearJournal();
check.equal(q.clearHistoryRUAwithPKG(''), false, 'an empty package name fails to delete');
check.sameJson(ops('rua'), ['rua_init', 'rua_delete_history_with_pkgname'], 'no rua_fini after it');
check.sameJson(texts(lines()), ['[Tarn] RUA Clear History Fail!'], 'delete failure logged');

// --- isUnnecessaryWelcomeMovie / isUnnecessaryMovie ---------------------------
tarn.sim.clearJournal();
check.equal(q.isUnnecessaryWelcomeMovie(), true, 'the welcome folder holds movies');
check.sameJson(texts(lines()), ['HandleIsUnnecessaryWelcomeMovie', '[Tarn]result[0]', '[Tarn]dir_num[3]'],
               'the name, the stat result, the count');
check.sameJson(tarn.sim.journal('tzplatform_mkpath')[0].arguments, [9, 'Welcome_Movie'], 'variable 9');
tarn.sim.set('media.Welcome_Movie', []);
check.equal(q.isUnnecessaryWelcomeMovie(), false, 'an empty folder: false');
check.sameJson(texts(lines()).slice(1), ['[Tarn]result[0]', '[Tarn]dir_num[2]'], 'dir_num 2');
tarn.sim.set('media.Welcome_Movie', ['one.mp4']);
check.equal(q.isUnnecessaryWelcomeMovie(), true, 'one file: true');
check.equal(lines().pop().text, '[Tarn]dir_num[3]', 'dir_num 3');
const hundred = [];
for (let i = 0; i < 100; i++) hundred.push('m' + i + '.mp4');
tarn.sim.set('media.demo_movie', hundred);
check.equal(q.isUnnecessaryMovie(), true, 'a hundred files: true');
const counted = lines();
check.sameJson(texts(counted), ['HandleIsUnnecessaryMovie', '[Tarn]result[0]', '[Tarn]dir_num[3]'],
               'the count stops at 3');
check.sameJson(counted.map((r) => [r.level, r.function]),
               [[2, 'HandleIsUnnecessaryMovie'], [2, 'HandleIsUnnecessaryMovie'], [2, 'HandleIsUnnecessaryMovie']],
               'every line at level 2, under the handler\'s name');
tarn.sim.remove('media.demo_movie');
check.equal(q.isUnnecessaryMovie(), false, 'a missing folder: false');
check.sameJson(texts(lines()), ['HandleIsUnnecessaryMovie', '[Tarn]result[-1]'],
               'with a non-zero result and no count');
tarn.sim.set('files["/opt/usr/media/demo_movie"]', 'a file, not a folder');
check.equal(q.isUnnecessaryMovie(), false, 'a file in the folder\'s place: false');
tarn.sim.remove('files["/opt/usr/media/demo_movie"]');

// --- removeUnnecessaryWelcomeMovie / removeUnnecessaryMovie -------------------
tarn.sim.reset();
tarn.sim.set('files["/opt/usr/media/demo_movie/sub/deep/clip.mp4"]', 'x');
tarn.sim.set('files["/opt/usr/media/demo_movie/.hidden"]', 'kept');
tarn.sim.set('files["/opt/usr/media/outside.txt"]', 'outside');
tarn.sim.clearJournal();
lines();
check.equal(q.removeUnnecessaryMovie(), true, 'removeUnnecessaryMovie answers true');
check.sameJson(texts(lines()), ['HandleRemoveUnnecessaryMovie'], 'logs its name');
check.sameJson(tarn.sim.journal('tzplatform_mkpath')[0].arguments, [9, 'demo_movie/*'],
               'the pattern from variable 9');
check.equal(tarn.sim.readFile('/opt/usr/media/demo_movie/demo_01.mp4'), null, 'the movies are gone');
check.equal(q.checkExistFile('/opt/usr/media/demo_movie/sub'), 0, 'sub-folders whole');
check.equal(q.checkExistFile('/opt/usr/media/demo_movie'), 1, 'the folder itself is kept');
check.ok(tarn.sim.readFile('/opt/usr/media/demo_movie/.hidden') !== null,
         'names beginning with a dot are not matched by the pattern');
check.ok(tarn.sim.readFile('/opt/usr/media/outside.txt') !== null, 'a file outside survives');
check.ok(tarn.sim.readFile('/opt/usr/media/Welcome_Movie/welcome_uhd.mp4') !== null,
         'the other folder is untouched');
lines();
check.equal(q.isUnnecessaryMovie(), true, 'the hidden file still counts');
tarn.sim.set('media.demo_movie', []);
check.equal(q.removeUnnecessaryMovie(), true, 'an empty folder: still true');
tarn.sim.set('files', {});
tarn.sim.remove('media.demo_movie');
check.equal(q.checkExistFile('/opt/usr/media/demo_movie'), 0, 'the folder is gone');
check.equal(q.removeUnnecessaryMovie(), true, 'a missing folder: still true');
check.equal(q.checkExistFile('/opt/usr/media/demo_movie'), 0, 'and nothing is made');
check.equal(q.removeUnnecessaryWelcomeMovie(), true, 'removeUnnecessaryWelcomeMovie answers true');
check.sameJson(texts(lines()).slice(-1), ['HandleRemoveUnnecessaryWelcomeMovie'], 'logs its name');
check.equal(q.isUnnecessaryWelcomeMovie(), false, 'the welcome folder is empty');
check.equal(q.checkExistFile('/opt/usr/media/Welcome_Movie'), 1, 'and kept');

// Folder names that a shell would take apart.
const names = ['two words', 'it\'s "quoted"', 'a;touch pwned1', '$(touch pwned2)', '`touch pwned3`',
               '-rf', '*', 'x > out', 'tab\there', 'new\nline'];
for (const name of names) {
  const dir = '/opt/usr/media/' + name;
  tarn.sim.makeFolder(dir + '/inner');
  const files = {};
  files[dir + '/movie.mp4'] = 'movie';
  files[dir + '/inner/more.mp4'] = 'more';
  files['/opt/usr/media/two/keep.mp4'] = 'sibling named by the first word';
  files['/opt/usr/media/keep.mp4'] = 'beside';
  tarn.sim.set('files', files);
  tarn.sim.forceResult('tzplatform_mkpath', root + dir + '/*');
  check.equal(q.removeUnnecessaryMovie(), true, JSON.stringify(name) + ': true');
  check.equal(tarn.sim.readFile(dir + '/movie.mp4'), null, JSON.stringify(name) + ': its movie is gone');
  check.equal(q.checkExistFile(dir + '/inner'), 0, JSON.stringify(name) + ': its sub-folder is gone');
  check.equal(q.checkExistFile(dir), 1, JSON.stringify(name) + ': the folder stays');
  check.ok(tarn.sim.readFile('/opt/usr/media/two/keep.mp4') !== null,
           JSON.stringify(name) + ': a sibling folder\'s file survives');
  check.ok(tarn.sim.readFile('/opt/usr/media/keep.mp4') !== null,
           JSON.stringify(name) + ': a file beside the folder survives');
  tarn.sim.set('files', {});
}
for (const p of ['pwned1', 'pwned2', 'pwned3']) {
  check.equal(q.checkExistFile('/' + p) + q.checkExistFile('/opt/usr/media/' + p), 0, 'no command ran: ' + p);
}
check.equal(q.checkExistFile('/opt/usr/media/out'), 0, 'no redirection happened');

// --- checkExistFile ---------------------------------------------------------
lines();
check.equal(q.checkExistFile('/opt/usr/media'), 1, 'a directory: 1');
check.equal(q.checkExistFile('/run/was_ready'), 1, 'a file: 1');
check.equal(q.checkExistFile(root + '/run/was_ready'), 1, 'a path already inside the root: 1');
check.equal(lines().length, 0, 'found: no line');
check.equal(q.checkExistFile('/no/such/file'), 0, 'a missing file: 0');
check.sameJson(texts(lines()), ['[TARN] stat failed for /no/such/file'], 'logged in capitals');
check.equal(typeof q.checkExistFile('/run/was_ready'), 'number', 'a number, not a boolean');
check.equal(q.checkExistFile(), 0, 'no argument: the path "undefined"');
check.sameJson(texts(lines()), ['[TARN] stat failed for undefined'], 'logged');

check.done();
