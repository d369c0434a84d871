// @ts-check
// Calls the declarations must refuse: each marked line must be an error of
// its own (tests/types/check_types.py checks them with the markers taken
// out), so the declarations cannot be looser than the methods.
const q = new QDUtil();

// Misspelt and mis-capitalised names, as field scripts might write them.
// @ts-expect-error
q.powerStandby();
// @ts-expect-error
q.setXPropertyCover();
// @ts-expect-error
q.changeXPropertyNormal();
// @ts-expect-error
q.registExtra();
// @ts-expect-error
q.getMemfree();
// @ts-expect-error
q.getCallerAppId();
// @ts-expect-error
q.isContainLauncher('org.tarn.apps');
// @ts-expect-error
console.log(q.nb_mode);

// Arguments of the wrong type.
// @ts-expect-error
q.qd_settimeofday('1700000000', 0, 0);
// @ts-expect-error
q.getDateString('yes');
// @ts-expect-error
q.heapSnapshot(42);
// @ts-expect-error
q.checkExistFile(true);
// @ts-expect-error
q.setOomScore('-17');
// @ts-expect-error
q.TVAudioMute(1);
// @ts-expect-error
q.getBlueToothDevice('callback');
// @ts-expect-error
q.getBlueToothDevice((device) => device.name.length);
// @ts-expect-error
q.ExtractForegroundColor('#ffffff');
// @ts-expect-error
q.requestCaptureToFileSync({capture_mode: 1});
// @ts-expect-error
q.requestCaptureToFileSync({width: '640'});
// @ts-expect-error
q.ANNOTATE_CHANNEL_COLOR('1', 'blue', 'loading');
// @ts-expect-error
q.activateScreenSaver('DEFAULT');
// @ts-expect-error
q.AppControl_DisableItem('org.tarn.weather', 3);

// Required arguments missing.
// @ts-expect-error
q.qd_settimeofday(1700000000, 0);
// @ts-expect-error
q.checkAppIsRunning();
// @ts-expect-error
q.getKPILogInfo();
// @ts-expect-error
q.ANNOTATE_MARKER_COLOR_STR('red');
// @ts-expect-error
q.setClutterStageHint('key');

// Answers used as what they are not.
// @ts-expect-error
q.getAppId().toFixed();
// @ts-expect-error
q.qd_gettimezone().utcOffset;
// @ts-expect-error
q.getLWAppVersion('weather').toUpperCase();
// @ts-expect-error
q.requestCaptureToFileSync({}).ret_path;
/** @type {boolean} */
// @ts-expect-error
const flag = q.sharedExitKey();
console.log(flag);

// Constants are read-only and of fixed value.
// @ts-expect-error
q.NB_MODE = 6;
/** @type {4} */
// @ts-expect-error
const modes = q.NB_MODE;
console.log(modes);

// The host's globals.
// @ts-expect-error
tarn.on('events', () => {});
// @ts-expect-error
tarn.on('interrupt', (/** @type {string} */ code) => console.log(code.length));
// @ts-expect-error
tarn.sim.fire();
// @ts-expect-error
tarn.load();
// @ts-expect-error
setTimeout('console.log(1)', 10);
