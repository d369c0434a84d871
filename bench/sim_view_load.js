// Load for the simulated TV view's benchmark (bench/sim_view_bench.py).
//   latency COUNT: once the bench says go (vconf "bench/go"), COUNT state
//     changes 5 ms apart, each value the wall time it was made at.
//   flood RATE SECONDS: RATE platform calls a second for SECONDS, paced
//     every 10 ms; prints the rate reached and the time spent in the calls.
const [mode, a, b] = tarn.args;
const q = new QDUtil();

if (mode === 'latency') {
  const count = Number(a);
  const wait = setInterval(() => {
    if (tarn.sim.get('vconf')['bench/go'] !== 1) return;
    clearInterval(wait);
    let made = 0;
    const tick = setInterval(() => {
      tarn.sim.set('tv.channel.name', 't' + Date.now());
      if (++made === count) {
        clearInterval(tick);
        console.log('done ' + made);
        setTimeout(() => tarn.exit(0), 200);
      }
    }, 5);
  }, 10);
} else {
  const rate = Number(a);
  const seconds = Number(b);
  const start = Date.now();
  let calls = 0;
  let busy = 0;
  const tick = setInterval(() => {
    const elapsed = Date.now() - start;
    const due = Math.min(rate * seconds, Math.floor((rate * elapsed) / 1000));
    const before = Date.now();
    while (calls < due) {
      q.getWakeupReason();
      ++calls;
    }
    busy += Date.now() - before;
    if (elapsed >= seconds * 1000) {
      clearInterval(tick);
      console.log(`calls ${calls} rate ${(calls * 1000 / elapsed).toFixed(0)} busy_ms ${busy}`);
      tarn.exit(0);
    }
  }, 10);
}
