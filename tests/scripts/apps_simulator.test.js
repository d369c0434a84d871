// The simulated set's file controls the app services rely on: `files` and
// `folders` entries win over the sections, taking one out takes it off the
// disk, the memory reports follow `memoryReports`, paths inside the root
// resolve to themselves, and the running app's data folder exists.
tarn.load('lib/check.js');

const q = new QDUtil();
const root = tarn.sim.root();
function textOf(bytes) {
  return bytes === null ? null : String.fromCharCode.apply(null, bytes);
}
const listPath = '/opt/usr/home/owner/share/tarnapps/first_screen/localAppList.txt';

// The running app's data folder.
check.equal(q.checkExistFile('/opt/usr/apps/tarnapps/apps_temp/org.tarn.apps'), 1,
            'the running app\'s data folder exists in the root');

// A files entry over a section's file, then taken out.
check.ok(textOf(tarn.sim.readFile(listPath)).indexOf('org.tarn.apps') > 0, 'the launcher section writes the list');
tarn.sim.set('files["' + listPath + '"]', '{"data": []}');
check.equal(textOf(tarn.sim.readFile(listPath)), '{"data": []}', 'a files entry replaces the section\'s file');
tarn.sim.set('launcher.apps', ['org.tarn.x']);
check.equal(textOf(tarn.sim.readFile(listPath)), '{"data": []}', 'and still wins when the section changes');
tarn.sim.remove('files["' + listPath + '"]');
check.ok(textOf(tarn.sim.readFile(listPath)).indexOf('org.tarn.x') > 0,
         'taken out, the section\'s own file comes back');
tarn.sim.set('files["/tmp/extra.txt"]', 'extra');
check.equal(textOf(tarn.sim.readFile('/tmp/extra.txt')), 'extra', 'a files entry of its own');
tarn.sim.remove('files["/tmp/extra.txt"]');
check.equal(tarn.sim.readFile('/tmp/extra.txt'), null, 'removed from the state, removed from the disk');
check.equal(q.checkExistFile('/tmp/extra.txt'), 0, 'as the bridge sees it');
tarn.sim.set('files', { '/tmp/a.txt': 'a', '/tmp/b.txt': 'b' });
tarn.sim.set('files', { '/tmp/b.txt': 'b2' });
check.equal(tarn.sim.readFile('/tmp/a.txt'), null, 'a files map set without an entry removes it');
check.equal(textOf(tarn.sim.readFile('/tmp/b.txt')), 'b2', 'and rewrites the others');
tarn.sim.set('files', {});

// Folders.
tarn.sim.set('folders', [listPath, '/opt/usr/x/y']);
check.equal(q.checkExistFile(listPath), 1, 'a folder where the list was');
check.equal(tarn.sim.readFile(listPath), null, 'no longer a file');
check.equal(q.checkExistFile('/opt/usr/x/y'), 1, 'a folder of its own, parents made');
tarn.sim.set('folders', []);
check.equal(q.checkExistFile('/opt/usr/x/y'), 0, 'taken out, the folder goes');
check.ok(tarn.sim.readFile(listPath) !== null, 'and the list is a file again');
check.throws(() => tarn.sim.set('folders', ['relative/path']),
             'set folders: folders[0]: expected an absolute path without ".."', 'relative folders are refused');

// Memory reports.
tarn.sim.set('memoryReports', { memfree: '5555', memstat: 'one line' });
check.equal(q.GetMemfree(), 5555, 'memfree as given');
check.equal(q.getProcMemory(), 'one line\n', 'memstat as given');
tarn.sim.set('memoryReports.memfree', 777);
check.equal(q.GetMemfree(), 777, 'a number is written as its text');
tarn.sim.set('memoryReports', { memfree: false, memstat: false });
check.equal(q.checkExistFile('/proc/qd_memfree'), 0, 'memfree absent');
check.equal(q.getProcMemory(), '', 'memstat absent');
tarn.sim.set('memoryReports', { memfree: true, memstat: true });
check.ok(q.GetMemfree() > 0, 'real figures again');
check.throws(() => tarn.sim.set('memoryReports.memfree', [1]),
             'set: memoryReports.memfree: expected an integer, a text or true/false, found a list',
             'a list is refused');

// Paths inside the root.
check.equal(q.checkExistFile(root + '/run/was_ready'), 1, 'a path inside the root is itself');
check.equal(q.checkExistFile(root + '/../' + root + '/run/was_ready'), 0,
            'a path that only looks inside the root is not');

check.done();
