// @ts-check
// Every QDUtil method called as a field script calls it, with arguments of
// the right types: the declarations must accept all of it.
const q = new QDUtil();

// Time and date
const set = q.qd_settimeofday(1700000000, 0, 0);
const now = q.qd_gettimeofday();
const local = q.qd_localtime();
const zone = q.qd_gettimezone();
const minutes = zone.utcoff + zone.dstoff;
const date = q.getDateString();
const longDate = q.getDateString(true);
const time = q.getTimeString(false);
const session = q.getSessionTime();
const since = q.getDuration();
const nanos = since.sec * 1e9 + since.nsec;
const booted = q.getSmartTime();
console.log(set + now + local + minutes + nanos, date, longDate, time, session.length, booted);

// Apps, memory and files
const memory = q.getProcMemory().split('\n');
const ready = q.firstScreenReady() && q.isExistWASTempFile();
const snapshot = q.heapSnapshot() || q.heapSnapshot('/tmp/app.heapsnapshot');
const ids = [q.getAppId(), q.getWidgetId(), q.getWidgetVersion(), q.getLastTarnApp()];
const free = q.GetMemfree() * 1024;
const history = q.clearHistoryRUA() && q.clearHistoryRUAwithPKG('org.tarn.weather');
const policy = q.getKPILogInfo('browser');
const exists = q.checkExistFile('/tmp/firstscreen_ready') === 1;
const movies = q.isUnnecessaryWelcomeMovie() && q.removeUnnecessaryWelcomeMovie();
const demos = q.isUnnecessaryMovie() ? q.removeUnnecessaryMovie() : false;
const version = q.getLWAppVersion('weather');
const versionText = typeof version === 'string' ? version : 'no config.xml';
const pinned = q.fernIsContainLauncher('org.tarn.games');
const launcher = JSON.parse(q.getLauncherList());
const room = q.isAvailableAddToHome();
const caller = q.getCallerAppID();
const oom = q.setOomScore(-17);
const running = q.checkAppIsRunning('org.tarn.apps');
console.log(memory.length, ready, snapshot, ids.join(), free, history, policy, exists, movies,
            demos, versionText, pinned, launcher, room, caller, oom, running);

// Power, TV state and Bluetooth
const tvState = [q.getMLSstate(), q.tvContextState(), q.isCESMode(), q.isMLSSupport()];
const source = q.getSourceInfo(0) + q.checkSourceStatus(33) + q.getMbrSourceCount();
const box = q.getMbrInfoByIndex(0);
if (typeof box === 'string' && box !== '') {
  /** @type {QDUtil.ExternalBoxActivity} */
  const activity = JSON.parse(box);
  console.log(activity.ativityName, activity.nMbrSource, activity.nActivityMode);
}
const power = [q.poweroff(), q.powerStanby(), q.powerNormal(), q.pictureOff(),
               q.setWelcomeScreen(0), q.setWelcomeScreen(1, true)];
const state = q.checkPowerState();
const mutes = q.TVAudioMute(true) && q.TVVideoMute(false);
const prePower = q.setPrePowerKey(true);
const presses = q.getPowerKeyPressCount(1);
const reset = q.getPowerKeyPressCount(0);
const remote = q.StartBT(true) && q.SetBT(false);
const last = q.launchLastSource();
const panel = q.isExistPanel('weather');
const channel = q.getCurrentChannelType();
const started = q.initializeBlueTooth();
const listed = q.getBlueToothDevice((device) => {
  const ids = device.vid.toString(16) + ':' + device.pid.toString(16);
  console.log(device.remoteAddress, device.remoteName.toUpperCase(), ids,
              device.isBonded && device.isConnected);
});
const stopped = q.deInitializeBlueTooth();
console.log(tvState, source, power, state, mutes, prePower, presses, reset, remote, last, panel,
            channel, started + listed + stopped);

// Display, capture and annotations
const grey = q.ExtractForegroundColor(10, 200, 30);
const light = q.ExtractForegroundColor();
console.log(grey.success, grey.color.r, grey.color.g, grey.color.b, light.color.r);
const language = q.updateWindowLanguage('en_US.UTF-8');
const shot = q.requestCaptureToFileSync({
  dir_path: '/tmp', file_name: 'shot.png', width: 640, height: 360,
  app_type: q.APP_TYPE_TARN_APP, cpature_mode: q.MODE_SCREEN, comp_type: q.COMP_TYPE_PNG,
  jpeg_quality: 90,
});
if (typeof shot === 'number') {
  console.log('capture failed with', shot);
} else {
  console.log(shot.ret_path, shot.ret_width * shot.ret_height);
}
const defaults = q.requestCaptureToFileSync({}) && q.requestCaptureToFileSync();
const sound = q.playAudio(3);
const hint = q.setClutterStageHint('wm.policy.win.user.geometry', '1');
const marks = [q.ANNOTATE_MARKER_COLOR_STR('red', 'frame'),
               q.ANNOTATE_CHANNEL_COLOR(1, 'blue', 'loading'), q.ANNOTATE_CHANNEL_END(1)];
const atlas = q.setAtlasThreshold(512) && q.setAtlasThreshold(1024, 0);
const saver = q.activateScreenSaver() || q.activateScreenSaver('DEFAULT', 0, 0, 2, 2);
const awake = q.deactivateScreenSaver();
console.log(language, defaults, sound, hint, marks, atlas, saver, awake);

// Events, subscriptions and D-Bus
const control = [q.AppControl_InitDbusConnection(),
                 q.AppControl_DisableItem('org.tarn.weather', 'weather'),
                 q.AppControl_RemoveDisabledItemsByAppname('weather'),
                 q.AppControl_FiniDbusConnection()];
const reason = q.getWakeupReason();
const subscribed = [q.registerWakeUp(), q.registerLateWakeUp(), q.registerSuspend(),
                    q.registerPowerChanged(), q.registerRecentChanged()];
const sent = q.sendMessageTRT();
const unsubscribed = [q.unregisterWakeUp(), q.unregisterLateWakeUp(), q.unregisterSuspend(),
                      q.unregisterRecentChanged()];
console.log(control, reason, subscribed, sent, unsubscribed);

// Window methods kept for old scripts: any arguments, a fixed answer.
/** @type {(true | false | 0 | '')[]} */
const kept = [
  q.getXWindowID(), q.qd_annotate('x'), q.qd_raiseXWindow(), q.screenCapture(),
  q.changeXPropertynormal(), q.setXPropertyTranspRect(0, 0, 100, 100), q.SetXPropertyCover(),
  q.setXPropertyRectWindow(), q.registerKey('VolumeUp'), q.registerKeyFS(),
  q.HandleRegisterKeyFSForCH(), q.getFocusedWinId(), q.setIsShowActor(true),
  q.volumeRegisterKey(), q.volumeUnregisterKey(), q.exitRegisterKey(), q.exitUnregisterKey(),
  q.getAppInfo('org.tarn.apps'), q.set3dMode(1), q.get3dMode(), q.setWindowOpaque(),
  q.setTVSourceType(1), q.checkFsHide(), q.lwRegisterKeyRF(), q.lwRegisterKeySTB(),
  q.lwSharedKey(), q.sharedExitKey(), q.registEXTRA(), q.changeNormal(), q.changeNoti(),
  q.changeDemandAttention(), q.changeBelow(), q.XPointingControl({}), q.removeKey('Exit'),
  q.registerNoneKey(), q.skipFocus(), q.DCCapture(), q.DCCaptureStart(), q.DCCaptureEnd(),
  q.getTopWindow(), q.exitSearchAllRegisterKey(), q.exitSearchAllUnregisterKey(),
];
console.log(kept.length, q.getResolution() / 1080);

// Constants are numbers of fixed values.
/** @type {5} */
const modes = q.NB_MODE;
const kinds = [q.APP_TYPE_WEB_APP, q.APP_TYPE_GAME_APP, q.APP_TYPE_EFL_APP, q.APP_TYPE_SOURCE,
               q.APP_TYPE_CHANNEL, q.APP_TYPE_SPORTS, q.NB_APP_TYPE];
const captureModes = [q.MODE_VIDEO, q.MODE_VIDEO_MAIN_ONLY, q.MODE_VIDEO_SUB_ONLY,
                      q.MODE_ENCODER_INPUT, q.COMP_TYPE_JPEG];
console.log(modes, kinds, captureModes);

// The host's globals.
tarn.on('event', (code, args) => {
  if (code === q.ON_FS_RECENT_CHANGED || code === q.ON_FS_INSTALL_NOTIFY) console.log(args.json);
  /** @type {number[]} */
  const others = [q.ON_FS_PVR_POPUP_EVENT, q.ON_FS_EXTERNAL_EVENT, q.ON_FS_AVAILABLE_NOTIFY,
                  q.ON_FS_YOUTUBE_NOTIFY, q.ON_FS_BROWSER_NOTIFY];
  console.log(others.indexOf(code));
});
/** @param {tarn.InterruptCode} code */
const onInterrupt = (code) => {
  if (code === tarn.interrupts.SUSPEND) console.log('suspending');
  if (code === tarn.interrupts.WAKEUP || code === tarn.interrupts.LATE_WAKEUP) console.log('up');
};
tarn.on('interrupt', onInterrupt);
tarn.off('interrupt', onInterrupt);
const usage = tarn.memoryUsage();
console.log(usage.rss, usage.heapUsed, tarn.args.length, tarn.version);
tarn.log.capture();
for (const line of tarn.log.take()) console.log(line.level, line.function, line.text);
tarn.log.stop();
tarn.sim.set('clock.wallTime', 1700000000);
tarn.sim.forceResult('TvPowerClient.requestPowerOff', -1);
tarn.sim.fire('wakeup', 7);
tarn.sim.waitForNotifications(1000);
for (const call of tarn.sim.journal('TvPowerClient')) console.log(call.operation, call.result);
const timer = setTimeout((word) => console.log(word.toUpperCase()), 10, 'later');
clearTimeout(timer);
queueMicrotask(() => console.log(structuredClone({a: 1}).a));
tarn.exitCode = 0;
tarn.exit(0);
