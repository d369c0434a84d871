// The clock methods: wall clock (the set's 32-bit time_t, wrap included),
// local time, setting the clock, monotonic duration, session time and the
// panel's booting time, with their log lines and failure values. The
// simulated set fixes the clocks the bridge sees through clock.wallTime and
// clock.monotonic and fails calls through forceResult and clock.failing.
tarn.load('lib/check.js');

const q = new QDUtil();
const BRIDGE = 'tarn.qdutil.bridge';

function lines() {
  return tarn.log.take().filter((r) => r.logger === BRIDGE).map((r) => [r.level, r.text]);
}
function calls(operation) {
  return tarn.sim.journal(operation);
}
function fresh() {
  tarn.sim.reset();
  tarn.sim.clearForcedResults();
  tarn.sim.clearJournal();
  tarn.log.take();
}
// What a signed 32-bit time_t holds for `seconds`.
function int32(seconds) {
  return Number(BigInt.asIntN(32, BigInt(seconds)));
}

tarn.log.capture();

// --- qd_gettimeofday ---------------------------------------------------------
fresh();
{
  const before = Math.floor(Date.now() / 1000);
  const now = q.qd_gettimeofday();
  const after = Math.floor(Date.now() / 1000);
  check.ok(now >= int32(before) && now <= int32(after), 'qd_gettimeofday follows the PC clock by default');
  check.equal(calls('gettimeofday').length, 1, 'one gettimeofday call, journaled');
  check.equal(calls('gettimeofday')[0].arguments[1], null, 'with a null time zone');
}
tarn.sim.set('clock.wallTime', 1700000000);
check.equal(q.qd_gettimeofday('ignored', 5), 1700000000, 'a fixed wall time, arguments ignored');
{
  const past2038 = 2147483647 + 3601;  // 2038-01-19 04:14:08 UTC
  tarn.sim.set('clock.wallTime', past2038);
  check.equal(q.qd_gettimeofday(), int32(past2038), 'past January 2038 the 32-bit set wraps to 1901');
  check.equal(q.qd_gettimeofday(), -2147480048, 'the wrapped value');
  tarn.sim.set('clock.wallTime', 4294967296 + 1234);
  check.equal(q.qd_gettimeofday(), 1234, 'only the low 32 bits reach the script');
}
tarn.log.take();
tarn.sim.forceResult('gettimeofday', -1);
check.equal(q.qd_gettimeofday(), -1, 'gettimeofday failing answers -1');
check.sameJson(lines(), [[2, 'Get Time Of Day Fail!']], 'and logs the failure at level 2');
tarn.sim.set('clock.failing', ['gettimeofday']);
check.equal(q.qd_gettimeofday(), -1, 'a call listed as failing in the state fails too');
tarn.sim.set('clock.failing', []);
check.equal(q.qd_gettimeofday(), 1234, 'and works again once unlisted');
check.sameJson(lines(), [[2, 'Get Time Of Day Fail!']], 'no line when the call works');

// --- qd_settimeofday ---------------------------------------------------------
fresh();
check.equal(q.qd_settimeofday(1500000000, 0), -1, 'two arguments: -1');
check.equal(q.qd_settimeofday(), -1, 'no argument: -1');
check.equal(calls('qd_settimeofday').length, 0, 'and nothing is called');
check.sameJson(lines(), [[2, 'Argument Error'], [2, 'Argument Error']], '"Argument Error" at level 2');
check.equal(q.qd_settimeofday(1500000000, 3, 4, 99), 0, 'four arguments: the fourth is ignored');
check.sameJson(calls('qd_settimeofday')[0].arguments, [1500000000, 3, 4], 'three values passed');
check.sameJson(lines(), [[2, 'HandleQDSetTimeOfDay:1500000000 3 4'], [2, 'ret:0']],
               'the values and the result are logged at level 2');
check.equal(tarn.sim.get('clock.lastSet.seconds'), 1500000000, 'the set\'s clock was set');
tarn.sim.clearJournal();
check.equal(q.qd_settimeofday(1.9, 2.9, -2.9), 0, 'fractions are truncated');
check.sameJson(calls('qd_settimeofday')[0].arguments, [1, 2, -2], '1.9 passes 1, -2.9 passes -2');
tarn.sim.clearJournal();
tarn.log.take();
check.equal(q.qd_settimeofday(-1.9, 0, 0), -1, 'a negative time: the platform refuses it');
check.sameJson(calls('qd_settimeofday')[0].arguments, [-1, 0, 0],
               '-1.9 passes -1, sign-extended to a 64-bit -1');
check.sameJson(lines(), [[2, 'HandleQDSetTimeOfDay:-1 0 0'], [2, 'ret:-1']], 'its result logged');
tarn.sim.clearJournal();
q.qd_settimeofday(2147483648, 0, 0);
check.sameJson(calls('qd_settimeofday')[0].arguments, [-2147483648, 0, 0],
               '2^31 wraps to the negative 32-bit value, then is sign-extended');
tarn.sim.clearJournal();
check.equal(q.qd_settimeofday('1600000000', '7', true), 0, 'texts and flags convert as numbers');
check.sameJson(calls('qd_settimeofday')[0].arguments, [1600000000, 7, 1], 'converted values');
tarn.sim.clearJournal();
q.qd_settimeofday(undefined, null, NaN);
check.sameJson(calls('qd_settimeofday')[0].arguments, [0, 0, 0], 'undefined, null and NaN pass 0');
tarn.sim.forceResult('qd_settimeofday', 42);
check.equal(q.qd_settimeofday(1, 2, 3), 42, 'the platform\'s result is the answer');

// --- qd_localtime --------------------------------------------------------------
fresh();
tarn.sim.set('clock.wallTime', 1782864000);  // 2026-07-01 00:00:00 UTC
check.equal(q.qd_localtime(), 1782864000, 'local time and back gives the wall time');
check.equal(calls('localtime').length, 1, 'one localtime call');
check.equal(calls('localtime')[0].arguments[0], 1782864000, 'of the current time');
check.equal(calls('mktime').length, 1, 'one mktime call');
tarn.sim.set('clock.wallTime', 2147483647 + 100);
check.equal(q.qd_localtime(), int32(2147483647 + 100), 'past January 2038: the wrapped time');
check.equal(calls('localtime')[1].arguments[0], int32(2147483647 + 100),
            'the set converts its wrapped time_t');
tarn.log.take();
tarn.sim.forceResult('localtime', null);
check.equal(q.qd_localtime(), 0, 'localtime failing answers 0 (not -1)');
check.sameJson(lines(), [[2, 'Get Local Time Fail!']], 'and logs the failure at level 2');
tarn.sim.set('clock.failing', ['localtime']);
check.equal(q.qd_localtime(), 0, 'failing through the state too');
tarn.sim.set('clock.failing', []);
tarn.sim.forceResult('time', 77);
check.equal(q.qd_localtime(), 77, 'the time read is the one converted');

// --- getDuration ---------------------------------------------------------------
fresh();
tarn.sim.set('clock.monotonic', {sec: 12, nsec: 345678901});
check.sameJson(q.getDuration(), {sec: 12, nsec: 345678901}, 'the monotonic clock as sec and nsec');
check.equal(calls('clock_gettime')[0].arguments[0], 1, 'CLOCK_MONOTONIC is read');
check.sameJson(lines(), [[2, '[duration] Return >>0'], [2, '[duration] sec:12, nsec:345678901']],
               'the result and the values logged at level 2');
tarn.sim.forceResult('clock_gettime', -1);
check.sameJson(q.getDuration(), {sec: 0, nsec: 0}, 'a failed read answers the zeroed values');
check.sameJson(lines(), [[2, '[duration] Return >>-1'], [2, '[duration] sec:0, nsec:0']],
               'the failure is only logged');
tarn.sim.set('clock.monotonic', null);
{
  const d = q.getDuration();
  check.ok(d.sec > 0 && d.nsec >= 0 && d.nsec < 1e9, 'the PC\'s monotonic clock by default');
}

// --- getSessionTime ------------------------------------------------------------
fresh();
tarn.sim.set('clock.monotonic', {sec: 1, nsec: 500000000});
check.equal(q.getSessionTime(), '1500.00', '1.5 s of monotonic time is "1500.00"');
check.sameJson(lines(), [[3, '']], 'the detail line is written before the text, so empty');
function session(sec, nsec) {
  // The set's arithmetic, computed here: a 32-bit product, a float fraction.
  return (((sec * 1000) | 0) + Math.fround(nsec) / 1e6).toFixed(2);
}
for (const [sec, nsec] of [[0, 0], [0, 71565003], [86400, 999999999], [2147483, 999999], [2147484, 0],
                           [3000000, 123456789]]) {
  tarn.sim.set('clock.monotonic', {sec, nsec});
  check.equal(q.getSessionTime(), session(sec, nsec), 'session time at ' + sec + ' s ' + nsec + ' ns');
}
tarn.sim.set('clock.monotonic', {sec: 0, nsec: 71565003});
check.equal(q.getSessionTime(), '71.56', 'the fraction is only as exact as a float (not 71.57)');
tarn.sim.set('clock.monotonic', {sec: 2147484, nsec: 0});
check.equal(q.getSessionTime(), '-2147483296.00', 'after about 24.8 days the product wraps');
tarn.sim.forceResult('clock_gettime', -1);
check.equal(q.getSessionTime(), '0.00', 'a failed read gives the zeroed time');

// --- getSmartTime --------------------------------------------------------------
fresh();
tarn.sim.set('power.bootingTime', 0);
check.equal(q.getSmartTime(), '000', 'a booting time of 0 is "000"');
tarn.sim.set('power.bootingTime', 12345);
check.equal(q.getSmartTime(), '1234500', '12345 is "1234500"');
check.sameJson(lines(), [[3, '[Booting Time] ret[0] booting_time[0]'],
                         [3, '[Booting Time] ret[0] booting_time[12345]']],
               'status and value logged at level 3');
tarn.sim.set('power.bootingTime', 4294967295);
check.equal(q.getSmartTime(), '429496729500', 'the largest count is written without overflow');
tarn.sim.forceResult('getBootingTime', -2);
check.equal(q.getSmartTime(), '000', 'a failed query gives the zeroed value');
check.sameJson(lines().slice(-1), [[3, '[Booting Time] ret[-2] booting_time[0]']],
               'the failure is only logged');

check.done();
