// Subscribes to wake-up and prints each interrupt the bridge sends, and
// each channel name the simulated set reports, while the view steers it;
// a stage hint set shows in the page, and a new channel name makes the
// script switch the window language. The bridge's clock is read every
// 50 ms: while it stands still (the view paused it) each new reading is
// printed, and "clock: running" once it runs again.
const q = new QDUtil();
q.registerWakeUp();
q.setClutterStageHint('wm.policy.win.brightness', '1');
tarn.on('interrupt', (code) => console.log('interrupt 0x' + code.toString(16).toUpperCase()));
let channel = tarn.sim.get('tv.channel.name');
const clock = { session: null, changes: 0, shown: '' };
setInterval(() => {
  const now = tarn.sim.get('tv.channel.name');
  if (now !== channel) {
    console.log('channel: ' + now);
    q.updateWindowLanguage('fr_FR');
  }
  channel = now;
  const wall = q.qd_gettimeofday();
  const session = q.getSessionTime();
  // A stepped clock changes once and stands again; a running one keeps on.
  clock.changes = session === clock.session ? 0 : clock.changes + 1;
  clock.session = session;
  if (clock.changes === 0) {
    const reading = `clock: ${wall} ${session}`;
    if (reading !== clock.shown) console.log(reading);
    clock.shown = reading;
  } else if (clock.changes === 2 && clock.shown !== '') {
    console.log('clock: running');
    clock.shown = '';
  }
}, 50);
console.log('listening');
