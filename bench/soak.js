// The script side of soak_bench: every bound method of QDUtil in a mix that
// goes on until the bench program says "stop" over D-Bus. Power events are
// fired from the simulated TV's thread, Bluetooth devices arrive through the
// idle hand-off, the bench program's signals arrive as engine events.
// Reports to the bench program on standard output, one line each:
//   @@soak sample {"t":…,"rss":…,"inUse":…,"heapUsed":…,…}   every SAMPLE seconds
//   @@soak done {"calls":…,"events":…,"slowest":…,…} at the end
// Arguments: SAMPLE_SECONDS SNAPSHOT_SECONDS CAPTURE_SECONDS (0: none).
const [sampleSeconds, snapshotSeconds, captureSeconds] =
    tarn.args.map(Number).concat([5, 180, 10]).slice(0, 3);
const q = new QDUtil();
// The allocator's bytes in use, from the measuring bridge the bench program
// loads beside QDUtil; without it they read 0.
const probe = typeof AllocationProbe === 'function' ? new AllocationProbe() : null;
const inUse = () => (probe ? probe.inUse() : 0);
const folder = '/opt/usr/apps/soak';
tarn.sim.makeFolder(folder);
const start = Date.now();
const elapsed = () => (Date.now() - start) / 1000;

let next = 0;
const stats = {
  calls: 0, slowest: { ms: 0, name: '' }, captures: 0, snapshots: 0, slowestCapture: 0,
  slowestSnapshot: 0, errors: 0, firstError: '', fired: 0, interrupts: 0, signals: 0,
  btCalls: 0, btDevices: 0, ticks: 0, over50: {}, snapshotKept: 0,
};

// Every bound method, with arguments as home-screen scripts pass them.
// Power commands come back to normal within their own entry.
const mix = [
  ['qd_gettimeofday'], ['qd_localtime'], ['qd_gettimezone'], ['getProcMemory'],
  ['firstScreenReady'], ['isExistWASTempFile'], ['getXWindowID'], ['qd_annotate', 'soak'],
  ['qd_raiseXWindow'], ['getMLSstate'], ['getResolution'], ['screenCapture'],
  ['changeXPropertynormal'], ['setXPropertyTranspRect', 0, 0, 10, 10], ['SetXPropertyCover'],
  ['setXPropertyRectWindow'], ['registerKey', 'Red'], ['registerKeyFS'],
  ['HandleRegisterKeyFSForCH'], ['getAppId'], ['getWidgetId'], ['getFocusedWinId'],
  ['getWidgetVersion'], ['ExtractForegroundColor', 120, 80, 40], ['GetMemfree'],
  ['getSourceInfo', 0], ['tvContextState'], ['AppControl_DisableItem', 'org.tarn.apps', 'soak'],
  ['AppControl_RemoveDisabledItemsByAppname', 'org.tarn.apps'], ['setIsShowActor', true],
  ['getDateString', true], ['getTimeString'], ['volumeRegisterKey'], ['volumeUnregisterKey'],
  ['exitRegisterKey'], ['exitUnregisterKey'], ['clearHistoryRUA'], ['getWakeupReason'],
  ['getKPILogInfo', 'brow'], ['getSessionTime'], ['getDuration'],
  ['clearHistoryRUAwithPKG', 'org.tarn.games'], ['getSmartTime'], ['updateWindowLanguage', 'C'],
  ['getAppInfo'], ['set3dMode', 0], ['get3dMode'], ['checkExistFile', '/opt/usr/media/demo_movie'],
  ['isCESMode'], ['isMLSSupport'], ['setWindowOpaque'], ['setTVSourceType', 1], ['checkFsHide'],
  ['lwRegisterKeyRF'], ['lwRegisterKeySTB'], ['lwSharedKey'], ['sharedExitKey'],
  ['getMbrSourceCount'], ['getMbrInfoByIndex', 1], ['isUnnecessaryWelcomeMovie'],
  ['removeUnnecessaryWelcomeMovie'], ['isUnnecessaryMovie'], ['removeUnnecessaryMovie'],
  ['registEXTRA'], ['changeNormal'], ['changeNoti'], ['changeDemandAttention'], ['changeBelow'],
  ['checkPowerState'], ['TVAudioMute', false], ['TVVideoMute', false], ['setPrePowerKey', false],
  ['getPowerKeyPressCount'], ['StartBT', true], ['SetBT', true], ['XPointingControl'],
  ['removeKey'], ['registerNoneKey'], ['skipFocus'], ['checkSourceStatus', 33],
  ['launchLastSource'], ['getLastTarnApp'], ['playAudio', 5], ['isExistPanel', 'weather'],
  ['setClutterStageHint', 'wm.policy.win.user.geometry', '1'], ['DCCapture'], ['DCCaptureStart'],
  ['DCCaptureEnd'], ['getLWAppVersion', 'org.tarn.apps'], ['getCurrentChannelType'],
  ['getTopWindow'], ['sendMessageTRT'], ['fernIsContainLauncher', 'org.tarn.apps'],
  ['getLauncherList'], ['isAvailableAddToHome'], ['ANNOTATE_MARKER_COLOR_STR', 'red', 'soak'],
  ['ANNOTATE_CHANNEL_COLOR', 1, 'red', 'soak'], ['ANNOTATE_CHANNEL_END', 1],
  ['setAtlasThreshold', 2048, 0], ['activateScreenSaver'], ['deactivateScreenSaver'],
  ['getCallerAppID'], ['setOomScore', 0], ['exitSearchAllRegisterKey'],
  ['exitSearchAllUnregisterKey'], ['checkAppIsRunning', 'org.tarn.apps'], ['setWelcomeScreen', 0],
  ['qd_settimeofday', Math.floor(Date.now() / 1000), 0, 0],
];

// The power commands, each back to normal, then a wake-up fired from the
// simulated TV's thread: the same interrupt events each time, all of them
// from here.
const powerStep = [['powerStanby'], ['powerNormal'], ['pictureOff'], ['powerNormal'],
                   ['poweroff'], ['powerNormal']];

function timed(name, args) {
  const before = Date.now();
  try {
    q[name](...args);
  } catch (e) {
    if (!stats.errors++) stats.firstError = name + ': ' + e.message;
  }
  const ms = Date.now() - before;
  stats.calls++;
  return ms;
}

function call(entry) {
  const [name, ...args] = entry;
  note(name, timed(name, args));
}

// The slowest call, and how many took longer than 50 ms, by name.
function note(name, ms) {
  if (ms > stats.slowest.ms) stats.slowest = { ms, name };
  if (ms > 50) stats.over50[name] = (stats.over50[name] || 0) + 1;
}

// The bonded devices of each enumeration arrive one idle call each.
function enumerate() {
  stats.btCalls++;
  note('getBlueToothDevice', timed('getBlueToothDevice', [() => stats.btDevices++]));
}

let stopping = false;
// Polls as field scripts do, with setTimeout(0): idle work must still get
// its turn between two ticks.
function tick() {
  if (stopping) return;
  stats.ticks++;
  for (let i = 0; i < 8; i++) call(mix[next++ % mix.length]);
  if (stats.ticks % 4 === 0) enumerate();
  setTimeout(tick, 0);
}

function capture() {
  const before = Date.now();
  q.requestCaptureToFileSync({ dir_path: folder, file_name: 'soak.png', width: 320, height: 180 });
  stats.captures++;
  stats.calls++;
  stats.slowestCapture = Math.max(stats.slowestCapture, Date.now() - before);
}

// Each snapshot stays with the engine's heap profiler for the life of the
// process (the bridge never deletes one), so each adds to the footprint: what
// it adds is measured, after a collection on each side, so that the bench
// program can tell the snapshots' share of the growth from the rest. The
// first also sets the profiler up: it is taken before the load.
function snapshot() {
  gc();
  const usedBefore = inUse();
  const before = Date.now();
  q.heapSnapshot(folder + '/soak.heapsnapshot');
  stats.slowestSnapshot = Math.max(stats.slowestSnapshot, Date.now() - before);
  gc();
  stats.snapshotKept += inUse() - usedBefore;
  stats.snapshots++;
  stats.calls++;
}

function power() {
  for (const entry of powerStep) call(entry);
  tarn.sim.fire('wakeup', 1);
  stats.fired++;
}

// The footprint (RSS, the heap's committed total) is read before the
// collection: a forced collection makes V8 give its young generation's
// spare half back until the next scavenge, a dip of 5 to 10 MB that no field
// script causes. What is kept (heap used, bytes in use) is read after it.
function sample() {
  const footprint = tarn.memoryUsage();
  gc();
  const m = tarn.memoryUsage();
  console.log('@@soak sample ' + JSON.stringify({
    t: elapsed(), rss: footprint.rss, inUse: inUse(), heapUsed: m.heapUsed,
    heapTotal: footprint.heapTotal,
    external: m.external, arrayBuffers: m.arrayBuffers, calls: stats.calls,
    journal: journalLength(), snapshotKept: stats.snapshotKept,
  }));
}

// The journal's count of entries so far: the sequence number of a marker
// entry (a press of the power key, which no subscriber hears).
function journalLength() {
  tarn.sim.fire('powerKey');
  const marks = tarn.sim.journal('fire.powerKey');
  return marks.length ? marks[marks.length - 1].seq : 0;
}

tarn.on('interrupt', () => stats.interrupts++);
tarn.on('event', (code, args) => {
  if (args.json === 'stop') return finish();
  stats.signals++;
});

const timers = [];
async function finish() {
  stopping = true;
  for (const t of timers) clearInterval(t);
  // Whatever was fired or enumerated last is delivered before the count.
  tarn.sim.waitForNotifications(5000);
  for (let i = 0; i < 20; i++) await new Promise((resolve) => setTimeout(resolve, 5));
  sample();
  stats.fireEvents = perFire;
  stats.bonded = tarn.sim.get('bluetooth.devices').filter((d) => d.bonded).length;
  stats.journal = journalLength();
  console.log('@@soak done ' + JSON.stringify(stats));
  q.unregisterRecentChanged();
  q.unregisterWakeUp();
  q.unregisterLateWakeUp();
  q.unregisterSuspend();
  q.AppControl_FiniDbusConnection();
  q.deInitializeBlueTooth();
  tarn.exit(0);
}

// The journal at its bound (it keeps the latest 200000 entries), filled by
// the mix itself, before the load starts and before any event is subscribed.
const filledFrom = journalLength();
while (journalLength() - filledFrom < 200000) {
  for (let i = 0; i < 20000; i++) call(mix[next++ % mix.length]);
}
q.heapSnapshot(folder + '/soak.heapsnapshot');
stats.calls = 0;
stats.slowest = { ms: 0, name: '' };
stats.over50 = {};

// Interrupt events per power step, counted once before the load starts.
let perFire = 0;
q.initializeBlueTooth();
q.AppControl_InitDbusConnection();
for (const name of ['WakeUp', 'LateWakeUp', 'Suspend']) {
  q['register' + name]();
  q['unregister' + name]();
  q['register' + name]();
}
q.registerPowerChanged();
q.registerRecentChanged();
power();
tarn.sim.waitForNotifications(5000);
setTimeout(() => {
  perFire = stats.interrupts;
  console.log('@@soak ready');
  timers.push(setInterval(sample, sampleSeconds * 1000));
  timers.push(setInterval(power, 1000));
  // 0 seconds: none of that kind during the load.
  if (captureSeconds > 0) timers.push(setInterval(capture, captureSeconds * 1000));
  if (snapshotSeconds > 0) timers.push(setInterval(snapshot, snapshotSeconds * 1000));
  tick();
}, 50);
