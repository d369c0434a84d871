// Subscribes to wake-up and prints each interrupt the bridge sends, and
// each channel name the simulated set reports, while the view steers it;
// a stage hint set shows in the page.
const q = new QDUtil();
q.registerWakeUp();
q.setClutterStageHint('wm.policy.win.brightness', '1');
tarn.on('interrupt', (code) => console.log('interrupt 0x' + code.toString(16).toUpperCase()));
let channel = tarn.sim.get('tv.channel.name');
setInterval(() => {
  const now = tarn.sim.get('tv.channel.name');
  if (now !== channel) console.log('channel: ' + now);
  channel = now;
}, 50);
console.log('listening');
