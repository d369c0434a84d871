// The time zone and the local date and time texts, compared with what the
// script engine's own Date computes for the process's zone (TZ): the tests
// run once per zone (west and east of UTC, a half-hour offset, daylight
// saving). Every failing step of the zone computation gives its fallback.
tarn.load('lib/check.js');

const q = new QDUtil();
const BRIDGE = 'tarn.qdutil.bridge';
const zone = Intl.DateTimeFormat().resolvedOptions().timeZone;

function lines() {
  return tarn.log.take().filter((r) => r.logger === BRIDGE).map((r) => [r.level, r.text]);
}
function fresh() {
  tarn.sim.reset();
  tarn.sim.clearForcedResults();
  tarn.sim.clearJournal();
  tarn.log.take();
}
// Minutes east of UTC at an instant, by the engine's Date.
function eastAt(seconds) {
  return -new Date(seconds * 1000).getTimezoneOffset();
}
// The zone as libc reports it, computed independently: the standard offset
// (the smaller east offset of January and July, minutes west as libc signs
// it) and the daylight-saving shift in force at the instant.
function expectedZone(seconds) {
  const year = new Date(seconds * 1000).getUTCFullYear();
  const standardEast = Math.min(eastAt(Date.UTC(year, 0, 1) / 1000), eastAt(Date.UTC(year, 6, 1) / 1000));
  // The UTC fields read as local standard time land standardEast earlier.
  const dst = eastAt(seconds - standardEast * 60) - standardEast;
  return {utcoff: -standardEast + 0, dstoff: dst + 0};
}

tarn.log.capture();

// --- qd_gettimezone --------------------------------------------------------------
const instants = [
  ['1 January 2026', Date.UTC(2026, 0, 1, 12) / 1000],
  ['1 July 2026', Date.UTC(2026, 6, 1, 12) / 1000],
  ['15 March 2026', Date.UTC(2026, 2, 15, 12) / 1000],
  ['now', Math.floor(Date.now() / 1000)],
];
for (const [name, seconds] of instants) {
  fresh();
  tarn.sim.set('clock.wallTime', seconds);
  const got = q.qd_gettimezone();
  check.sameJson(got, expectedZone(seconds), zone + ' on ' + name + ': utcoff and dstoff in minutes');
  check.sameJson(lines(), [], zone + ' on ' + name + ': no log line');
}
{
  fresh();
  tarn.sim.set('clock.wallTime', Date.UTC(2026, 6, 1, 12) / 1000);
  q.qd_gettimezone();
  const steps = tarn.sim.journal('libc').map((c) => c.operation);
  check.sameJson(steps, ['time', 'localtime_r', 'mktime', 'gmtime_r', 'mktime'],
                 'the steps: time, local time, back, UTC, read as local');
}
if (zone === 'America/Bogota') {
  check.sameJson(q.qd_gettimezone(), {utcoff: 300, dstoff: 0}, 'UTC-5 gives 300 and no daylight saving');
}
if (zone === 'Asia/Tokyo') check.equal(q.qd_gettimezone().utcoff, -540, 'UTC+9 gives -540');
if (zone === 'Asia/Kolkata') check.equal(q.qd_gettimezone().utcoff, -330, 'UTC+5:30 gives -330');
if (zone === 'America/New_York') {
  tarn.sim.set('clock.wallTime', Date.UTC(2026, 6, 1, 12) / 1000);
  check.sameJson(q.qd_gettimezone(), {utcoff: 300, dstoff: 60}, 'New York in summer: daylight saving');
}

// Every failing step: the utcoff of the zone, dstoff 0 and one line.
const standardWest = expectedZone(Date.UTC(2026, 0, 1) / 1000).utcoff;
const failures = [
  ['localtime_r returns null', () => tarn.sim.forceResult('localtime_r', null),
   ['time', 'localtime_r']],
  ['the first mktime returns -1', () => tarn.sim.forceResult('mktime', -1),
   ['time', 'localtime_r', 'mktime']],
  ['gmtime_r returns null', () => {
    tarn.sim.forceResult('mktime', 1767268800);
    tarn.sim.forceResult('gmtime_r', null);
  }, ['time', 'localtime_r', 'mktime', 'gmtime_r']],
  ['the second mktime returns -1', () => {
    tarn.sim.forceResult('mktime', 1767268800);
    tarn.sim.forceResult('mktime', -1);
  }, ['time', 'localtime_r', 'mktime', 'gmtime_r', 'mktime']],
];
for (const [name, force, steps] of failures) {
  fresh();
  tarn.sim.set('clock.wallTime', Date.UTC(2026, 0, 1, 12) / 1000);
  force();
  check.sameJson(q.qd_gettimezone(), {utcoff: standardWest, dstoff: 0}, name + ': the fallback object');
  check.sameJson(lines(), [[2, 'Get Time Zone Fail!']], name + ': one line at level 2');
  check.sameJson(tarn.sim.journal('libc').map((c) => c.operation), steps, name + ': stops there');
}
fresh();
tarn.sim.set('clock.failing', ['gmtime_r']);
check.sameJson(q.qd_gettimezone(), {utcoff: standardWest, dstoff: 0}, 'a step failing through the state');

// --- getDateString / getTimeString ---------------------------------------------
const DAYS = ['Sunday', 'Monday', 'Tuesday', 'Wednesday', 'Thursday', 'Friday', 'Saturday'];
const MONTHS = ['January', 'February', 'March', 'April', 'May', 'June', 'July', 'August',
                'September', 'October', 'November', 'December'];
const two = (n) => String(n).padStart(2, '0');
function dateText(d, longForm) {
  if (longForm) return DAYS[d.getDay()] + ', ' + two(d.getDate()) + ' ' + MONTHS[d.getMonth()] + ' ' + d.getFullYear();
  return two(d.getDate()) + '/' + two(d.getMonth() + 1) + '/' + d.getFullYear();
}
function timeText(d, twelveHour) {
  if (!twelveHour) return two(d.getHours()) + ':' + two(d.getMinutes());
  const h = d.getHours() % 12 === 0 ? 12 : d.getHours() % 12;
  return h + ':' + two(d.getMinutes()) + (d.getHours() < 12 ? ' AM' : ' PM');
}
// The texts use the engine's clock; a minute may turn during the call.
function matchesNow(call, format, what) {
  const before = format(new Date());
  const got = call();
  const after = format(new Date());
  return check.ok(got === before || got === after,
                  what + ': got ' + JSON.stringify(got) + ', expected ' + JSON.stringify(before));
}
matchesNow(() => q.getDateString(), (d) => dateText(d, false), zone + ': getDateString() is the short date');
matchesNow(() => q.getDateString(true), (d) => dateText(d, true), zone + ': getDateString(true) is the long date');
matchesNow(() => q.getDateString(false), (d) => dateText(d, false), 'getDateString(false)');
matchesNow(() => q.getDateString('yes'), (d) => dateText(d, false), 'a text flag is ignored, not converted');
matchesNow(() => q.getDateString(1), (d) => dateText(d, false), 'a number flag is ignored');
matchesNow(() => q.getDateString(new Boolean(true)), (d) => dateText(d, false), 'a Boolean object is ignored');
matchesNow(() => q.getTimeString(), (d) => timeText(d, false), zone + ': getTimeString() is 24-hour');
matchesNow(() => q.getTimeString(true), (d) => timeText(d, true), zone + ': getTimeString(true) is 12-hour');
matchesNow(() => q.getTimeString('yes', true), (d) => timeText(d, false), 'only argument 0 counts');
{
  let touched = false;
  const hostile = {valueOf() { touched = true; throw new Error('no'); }, toString() { touched = true; throw new Error('no'); }};
  matchesNow(() => q.getDateString(hostile), (d) => dateText(d, false), 'an object flag is never converted');
  matchesNow(() => q.getTimeString(Symbol('x')), (d) => timeText(d, false), 'a Symbol flag is ignored');
  matchesNow(() => q.getDateString(10n), (d) => dateText(d, false), 'a BigInt flag is ignored');
  matchesNow(() => q.getTimeString(new Proxy({}, {get() { touched = true; throw new Error('trap'); }})),
             (d) => timeText(d, false), 'a Proxy flag is ignored');
  check.equal(touched, false, 'no script code of the argument ran');
}

check.done();
