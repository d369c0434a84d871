// A tour of the "QDUtil" class on the simulated TV: run it with
//   ./scripts/demo.sh
const q = new QDUtil();

console.log('QDUtil bridge loaded; capture modes:', q.NB_MODE, 'app kinds:', q.NB_APP_TYPE);
console.log('compression: PNG =', q.COMP_TYPE_PNG, 'JPEG =', q.COMP_TYPE_JPEG);
console.log('panel resolution (system information 129):', q.getResolution());

// Methods of older sets still answer, so old scripts keep running.
console.log('registerKey() ->', q.registerKey('VolumeUp'));
console.log('sharedExitKey() ->', q.sharedExitKey(), '(the number 0)');
console.log('getTopWindow() ->', JSON.stringify(q.getTopWindow()));
console.log('set3dMode(1) ->', q.set3dMode(1), '(deprecated)');

// Constants are read-only in effect: a number is accepted and ignored...
// @ts-expect-error (the declarations make them read-only too)
q.APP_TYPE_WEB_APP = 7;
console.log('APP_TYPE_WEB_APP after assigning 7:', q.APP_TYPE_WEB_APP);
// ...and anything else is refused with a script Error.
try {
  // @ts-expect-error
  q.APP_TYPE_WEB_APP = 'seven';
} catch (e) {
  console.log('assigning a text:', e.message);
}
// A method needs a QDUtil object as `this`.
try {
  q.registerKey.call({});
} catch (e) {
  console.log('foreign this:', e.message);
}

// --- The set's services, answered by the simulated TV -----------------------
// Clock and calendar (what a set with a 32-bit clock shows).
console.log('\nclock: qd_gettimeofday() ->', q.qd_gettimeofday(), '| date', q.getDateString(),
            '| time', q.getTimeString(), '| zone', JSON.stringify(q.qd_gettimezone()));

// Sources and the TV's state.
console.log('current source:', q.getSourceInfo(0), '| channel type:', q.getCurrentChannelType(),
            '| power state:', q.checkPowerState(), '| wake-up reason:', q.getWakeupReason());

// Which app is running, and its memory.
console.log('app:', q.getAppId(), 'version', q.getWidgetVersion(), '| free memory (kB):',
            q.GetMemfree());
console.log('launcher list:', q.getLauncherList().trim());
console.log('foreground colour for (10, 200, 30):',
            JSON.stringify(q.ExtractForegroundColor(10, 200, 30)));

// A screen capture: a real PNG, written under the simulated set's root.
tarn.sim.makeFolder('/opt/usr/home/captures');  // the set's capture folder
const shot = q.requestCaptureToFileSync({dir_path: '/opt/usr/home/captures',
                                         file_name: 'demo.png', width: 640, height: 360,
                                         comp_type: q.COMP_TYPE_PNG});
// A failed capture answers the service's error code instead.
if (typeof shot === 'number') throw new Error('capture failed: ' + shot);
// The simulated root is temporary unless tarn-run is given --sim-root DIR.
console.log('capture:', JSON.stringify(shot), '-> on this PC:',
            tarn.sim.root() + shot.ret_path);

// Events come back on the script thread, each when the set sends it: the
// Bluetooth devices one by one to the callback, power events as "interrupt"
// events once subscribed. The demo ends when both have arrived.
const bonded = tarn.sim.get('bluetooth.devices').length;
let devices = 0;
let wokeUp = false;
// With the live view (./scripts/demo.sh --view) the demo stays and answers
// the remote: each press of the power key in the page turns the set to
// standby or back on, as a home screen would.
const viewing = tarn.args.includes('--view');
const endWhenDone = () => {
  if (wokeUp && devices === bonded && !viewing) tarn.exit(0);
};
if (viewing) {
  let presses = q.getPowerKeyPressCount(1);
  setInterval(() => {
    const now = q.getPowerKeyPressCount(1);
    if (now === presses) return;
    presses = now;
    const on = q.checkPowerState() === 0;
    console.log(`power key pressed (${now} so far): the set goes ${on ? 'to standby' : 'back on'}`,
                '->', on ? q.powerStanby() : q.powerNormal());
  }, 200);
}
q.initializeBlueTooth();
q.getBlueToothDevice((device) => {
  console.log('bluetooth device:', device.remoteName, device.isConnected ? '(connected)' : '');
  ++devices;
  endWhenDone();
});
q.registerWakeUp();
tarn.on('interrupt', (code) => {
  console.log('interrupt event 0x' + code.toString(16).toUpperCase(), '(early wake-up)');
  if (wokeUp) return;
  // The set is now in standby: the simulator kept what the bridge asked.
  console.log('powerStanby() ->', q.powerStanby(), '| simulated power state:',
              tarn.sim.get('power.state'));
  wokeUp = true;
  endWhenDone();
});
tarn.sim.fire('wakeup');  // as the power service would, from its own thread
