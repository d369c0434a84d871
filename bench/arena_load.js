// QDUtil calls as a home screen makes them, timed, with the footprint after
// them: 50,000 calls of a mix, and a wake-up fired from the simulated TV's
// thread every 500, so that two threads allocate at once.
// Prints "ms <milliseconds> rss <MB> heapTotal <MB>".
const q = new QDUtil();
const mix = [
  ['qd_gettimeofday'], ['qd_gettimezone'], ['getProcMemory'], ['getAppId'],
  ['getDateString', true], ['getSourceInfo', 0], ['checkPowerState'], ['getLauncherList'],
];
const t0 = Date.now();
for (let i = 0; i < 50000; i++) {
  const [name, ...args] = mix[i % mix.length];
  q[name](...args);
  if (i % 500 === 0) tarn.sim.fire('wakeup', 1);
}
const ms = Date.now() - t0;
const m = tarn.memoryUsage();
const mb = (bytes) => (bytes / 1048576).toFixed(1);
console.log('ms', ms, 'rss', mb(m.rss), 'heapTotal', mb(m.heapTotal));
