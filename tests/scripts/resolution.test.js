// "getResolution" answers the panel resolution from system information key
// 129, and 0 when the query fails.
tarn.load('lib/check.js');

const q = new QDUtil();
check.equal(q.getResolution(), tarn.sim.get('systemInfo.129'), 'the set\'s panel resolution');
check.equal(typeof q.getResolution(), 'number', 'a number');

tarn.sim.set('systemInfo.129', 2160);
tarn.sim.clearJournal();
check.equal(q.getResolution('ignored', 1, {}), 2160, 'follows the set, arguments ignored');
const calls = tarn.sim.journal('system_info_get_value_int');
check.equal(calls.length, 1, 'one system-information query per call');
check.equal(calls[0].arguments[0], 129, 'asks key 129');

tarn.sim.forceResult('system_info_get_value_int', -5);
check.equal(q.getResolution(), 0, 'a failed query answers the preset 0');
check.equal(q.getResolution(), 2160, 'the next query succeeds again');

check.done();
