// Process memory and diagnostics: the kernel's memory reports passed through,
// the out-of-memory adjustment written, and a service's log policy as JSON.
tarn.load('lib/check.js');

const q = new QDUtil();
tarn.log.capture();
function lines() {
  return tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge');
}
function texts(records) {
  return records.map((r) => r.text);
}
function textOf(bytes) {
  if (bytes === null) return null;
  let s = '';
  for (let i = 0; i < bytes.length; i += 8192)
    s += String.fromCharCode.apply(null, bytes.subarray(i, i + 8192));
  return s;
}
// The process id, as aul is asked for it.
tarn.sim.clearJournal();
q.getAppId();
const pid = tarn.sim.journal('aul_app_get_appid_bypid')[0].arguments[0];
const memstat = '/proc/' + pid + '/qd_memstat';
lines();

// --- getProcMemory ----------------------------------------------------------
let report = q.getProcMemory();
check.ok(/^VmRSS:\s+\d+ kB$/m.test(report), 'the real figures pass through: ' + JSON.stringify(report));
check.ok(report.endsWith('\n'), 'every line ends with a newline');
check.sameJson(texts(lines()), ['fileName: ' + tarn.sim.root() + memstat], 'logs the report\'s name');
tarn.sim.set('memoryReports.memstat', 'VmRSS: 10 kB\nVmHWM: 12 kB');
check.equal(q.getProcMemory(), 'VmRSS: 10 kB\nVmHWM: 12 kB\n',
            'a last line without a newline gets one');
tarn.sim.set('memoryReports.memstat', 'one line\n');
check.equal(q.getProcMemory(), 'one line\n', 'one line');
tarn.sim.set('memoryReports.memstat', 'a\n\nb\n');
check.equal(q.getProcMemory(), 'a\n\nb\n', 'an empty line is kept');
tarn.sim.set('memoryReports.memstat', '');
check.equal(q.getProcMemory(), '', 'an empty report');
tarn.sim.set('memoryReports.memstat', false);
lines();
check.equal(q.getProcMemory(), '', 'a missing report: the empty text');
check.equal(lines().length, 1, 'only the file name is logged');
tarn.sim.set('folders', [memstat]);
check.equal(q.getProcMemory(), '', 'a folder in the report\'s place: the empty text');
tarn.sim.set('folders', []);
tarn.sim.set('memoryReports.memstat', true);
check.ok(/VmRSS/.test(q.getProcMemory()), 'the real figures again');

// --- GetMemfree -------------------------------------------------------------
lines();
const free = q.GetMemfree();
check.ok(Number.isInteger(free) && free > 0, 'the real free memory in kB: ' + free);
check.sameJson(texts(lines()), ['File name: /proc/memfree'], 'logs the name without its prefix');
tarn.sim.set('memoryReports.memfree', '123456\n');
check.equal(q.GetMemfree(), 123456, 'the leading number');
tarn.sim.set('memoryReports.memfree', '77 kB and more text past twenty bytes 99999');
check.equal(q.GetMemfree(), 77, 'only the number at the start');
tarn.sim.set('memoryReports.memfree', '000000000000000000001234');
check.equal(q.GetMemfree(), 0, 'at most 20 bytes are read');
tarn.sim.set('memoryReports.memfree', 'free: 5');
check.equal(q.GetMemfree(), 0, 'no leading number: 0');
tarn.sim.set('memoryReports.memfree', '');
check.equal(q.GetMemfree(), 0, 'an empty report: 0');
tarn.sim.set('memoryReports.memfree', '\u0001\u00ff\u0000\u0080');
check.equal(q.GetMemfree(), 0, 'binary bytes: 0');
tarn.sim.set('memoryReports.memfree', '99999999999');
check.equal(typeof q.GetMemfree(), 'number', 'a figure past 32 bits is still a number');
tarn.sim.set('memoryReports.memfree', false);
lines();
check.equal(q.GetMemfree(), 0, 'a missing report: 0');
check.sameJson(texts(lines()), ['Cannot open /proc/memfree. Try again later'], 'and says so');
tarn.sim.set('folders', ['/proc/qd_memfree']);
check.equal(q.GetMemfree(), 0, 'an unreadable report (a folder): 0');
check.sameJson(texts(lines()), ['File name: /proc/memfree', 'read returned -1'],
               'opened, then the read failed');
tarn.sim.set('folders', []);
tarn.sim.set('files["/proc/qd_memfree"]', '4242\n');
tarn.sim.set('memoryReports.memfree', true);
check.equal(q.GetMemfree(), 4242, 'a files entry at the report\'s path wins');
tarn.sim.remove('files["/proc/qd_memfree"]');
check.ok(q.GetMemfree() !== 4242, 'taken out, the real figure comes back');

// --- setOomScore ------------------------------------------------------------
const oom = '/proc/' + pid + '/oom_adj';
check.equal(q.setOomScore(-17.9), true, 'setOomScore answers true');
check.equal(textOf(tarn.sim.readFile(oom)), '-17', 'writes the value truncated toward zero, no newline');
check.equal(q.setOomScore(15), true, 'a positive value');
check.equal(textOf(tarn.sim.readFile(oom)), '15', 'replaces the old one');
check.equal(q.setOomScore(), false, 'no argument: false');
check.equal(textOf(tarn.sim.readFile(oom)), '15', 'and nothing written');
check.equal(q.setOomScore('abc'), true, 'a text that is no number');
check.equal(textOf(tarn.sim.readFile(oom)), '0', 'writes 0');
check.equal(q.setOomScore(1e10), true, 'no range check');
tarn.sim.set('folders', [oom]);
check.equal(q.setOomScore(3), false, 'a file that cannot be opened for writing: false');
tarn.sim.set('folders', []);

// --- getKPILogInfo ----------------------------------------------------------
lines();
const browser = q.getKPILogInfo('brow');
check.sameJson(JSON.parse(browser),
               { event: [{ enable: '1', id: '1001' }, { enable: '0', id: '1002' }],
                 service: { level: '2', name: 'browser' } },
               'the key brow finds the service browser, with its events');
check.ok(browser.indexOf('\n   ') > 0 && browser.endsWith('\n'), 'styled: indented, one member a line');
check.equal(lines().length, 0, 'no line on success');
check.equal(JSON.parse(q.getKPILogInfo('first')).service.name, 'firstscreen', 'another prefix');
check.equal(JSON.parse(q.getKPILogInfo('')).service.name, 'browser', 'an empty key takes the first');
check.equal(q.getKPILogInfo(), '', 'no argument reads the key "undefined": no such service');
check.equal(JSON.parse(q.getKPILogInfo('brow\u0000zz')).service.name, 'browser',
            'a key counts up to its first NUL');
check.equal(q.getKPILogInfo('browsers'), '', 'a key longer than every name');
check.sameJson(texts(lines()), ['[Tarn] XML pElemService Fail!', '[Tarn] XML pElemService Fail!'],
               'no service found, logged');
tarn.sim.set('logPolicy.services', [
  { attributes: { name: 'browser2', level: '1' }, events: [] },
  { attributes: { name: 'browser', level: '2' }, events: [{ id: '5' }] }]);
check.equal(JSON.parse(q.getKPILogInfo('browser')).service.name, 'browser2',
            'a prefix match: the first whose name begins with the key');
check.sameJson(JSON.parse(q.getKPILogInfo('browser2')).event, [], 'no events: an empty list');

const policy = '/opt/etc/webappservice/common/LogPolicyConfig.xml';
function policyWith(text) {
  tarn.sim.set('files["' + policy + '"]', text);
  lines();
  return q.getKPILogInfo('a');
}
check.equal(policyWith('<rsp><list><svc level="1"/><svc name="a"/></list></rsp>'), '', 'no name');
check.sameJson(texts(lines()), ['[Tarn] XML pKey Fail!'], 'an element without name');
check.equal(policyWith('<rsq><list/></rsq>'), '', 'no rsp');
check.sameJson(texts(lines()), ['[Tarn] XML pRoot Fail!'], 'no rsp logged');
check.equal(policyWith('<rsp><lst/></rsp>'), '', 'no list');
check.sameJson(texts(lines()), ['[Tarn] XML pElem Fail!'], 'no list logged');
check.equal(policyWith('<rsp><list></list></rsp>'), '', 'an empty list');
check.sameJson(texts(lines()), ['[Tarn] XML pElemService Fail!'], 'an empty list logged');
check.equal(policyWith('<rsp><list><s name="a" z="1" b="2"><e x="1"><sub/></e>text<f/></s></list></rsp>')
                .length > 0, true, 'mixed content');
check.sameJson(JSON.parse(q.getKPILogInfo('a')),
               { event: [{ x: '1' }, {}], service: { b: '2', name: 'a', z: '1' } },
               'child elements only, each with its attributes');
for (const [text, what] of [['<rsp><list><s name="a">', 'truncated'], ['', 'empty'],
                            ['\u0000\u0001\u00fe<<>>', 'binary'], ['<rsp><list><s name="a"/></lst></rsp>', 'malformed'],
                            ['<a>'.repeat(100000) + '</a>'.repeat(100000), 'nested 100,000 levels'],
                            ['<rsp><list>' + '<s name="x">'.repeat(100000), 'deep and unclosed']]) {
  check.equal(policyWith(text), '', what + ' policy file: the empty text');
  check.sameJson(texts(lines()), ['[Tarn] XML LoadFile Fail!'], what + ' policy file: load failure logged');
}
tarn.sim.remove('files["' + policy + '"]');
tarn.sim.set('folders', [policy]);
check.equal(q.getKPILogInfo('b'), '', 'a folder in the file\'s place');
check.sameJson(texts(lines()), ['[Tarn] XML LoadFile Fail!'], 'a folder: load failure');
tarn.sim.set('folders', []);
tarn.sim.set('logPolicy.services', []);
check.equal(q.getKPILogInfo('b'), '', 'the section rewritten, no services');
tarn.sim.forceResult('tzplatform_mkpath', null);
check.equal(q.getKPILogInfo('b'), '', 'no path from the platform');
check.sameJson(texts(lines()), ['[Tarn] XML pElemService Fail!', '[Tarn] XML LoadFile Fail!'],
               'both failures logged');

check.done();
