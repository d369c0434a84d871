// The "QDUtil" class carries exactly the methods and constants it binds, in
// binding order, with their irregular spellings.
tarn.load('lib/check.js');

const methods = [
  'getXWindowID', 'qd_annotate', 'qd_raiseXWindow', 'getResolution', 'screenCapture',
  'changeXPropertynormal', 'setXPropertyTranspRect', 'SetXPropertyCover', 'setXPropertyRectWindow',
  'registerKey', 'registerKeyFS', 'HandleRegisterKeyFSForCH', 'getFocusedWinId', 'setIsShowActor',
  'volumeRegisterKey', 'volumeUnregisterKey', 'exitRegisterKey', 'exitUnregisterKey', 'getAppInfo',
  'set3dMode', 'get3dMode', 'setWindowOpaque', 'setTVSourceType', 'checkFsHide', 'lwRegisterKeyRF',
  'lwRegisterKeySTB', 'lwSharedKey', 'sharedExitKey', 'registEXTRA', 'changeNormal', 'changeNoti',
  'changeDemandAttention', 'changeBelow', 'XPointingControl', 'removeKey', 'registerNoneKey',
  'skipFocus', 'DCCapture', 'DCCaptureStart', 'DCCaptureEnd', 'getTopWindow',
  'exitSearchAllRegisterKey', 'exitSearchAllUnregisterKey',
];
const constants = [
  'APP_TYPE_TARN_APP', 'APP_TYPE_WEB_APP', 'APP_TYPE_GAME_APP', 'APP_TYPE_EFL_APP',
  'APP_TYPE_SOURCE', 'APP_TYPE_CHANNEL', 'APP_TYPE_SPORTS', 'NB_APP_TYPE', 'MODE_SCREEN',
  'MODE_VIDEO', 'MODE_VIDEO_MAIN_ONLY', 'MODE_VIDEO_SUB_ONLY', 'MODE_ENCODER_INPUT', 'NB_MODE',
  'COMP_TYPE_PNG', 'COMP_TYPE_JPEG', 'ON_FS_RECENT_CHANGED', 'ON_FS_INSTALL_NOTIFY',
  'ON_FS_PVR_POPUP_EVENT', 'ON_FS_EXTERNAL_EVENT', 'ON_FS_AVAILABLE_NOTIFY',
  'ON_FS_YOUTUBE_NOTIFY', 'ON_FS_BROWSER_NOTIFY',
];

check.equal(typeof QDUtil, 'function', 'QDUtil is a class on the global object');
const q = new QDUtil();

const protoNames = Object.getOwnPropertyNames(QDUtil.prototype).filter((n) => n !== 'constructor');
check.sameJson(protoNames, methods, 'methods on the class, in binding order');
check.sameJson(Object.keys(q), constants, 'constants on each object, in binding order');

const seen = [];
for (const key in q) seen.push(key);
check.sameJson(seen, constants.concat(methods), 'for-in lists the constants then the methods');

for (const name of methods) {
  check.equal(typeof q[name], 'function', name + ' is a method');
}
for (const name of constants) {
  check.equal(typeof q[name], 'number', name + ' is a number');
}

// Names that field scripts might mistype are not there.
check.equal(q.setXPropertyCover, undefined, 'lower-case setXPropertyCover is undefined');
check.throws(() => q.setXPropertyCover(), 'q.setXPropertyCover is not a function',
             'calling lower-case setXPropertyCover fails as an unknown property');
check.equal(q.SetXPropertyCover(), true, 'SetXPropertyCover succeeds');
check.equal(q.powerStandby, undefined, 'the correctly spelled standby name does not exist');
check.equal(q.changeXPropertyNormal, undefined, 'changeXPropertyNormal (capital N) does not exist');
check.equal(q.registExtra, undefined, 'registExtra does not exist');
check.equal(q.nb_mode, undefined, 'constant names are case-sensitive');

// Methods are plain functions of the prototype, not constructors.
check.throws(() => new q.registerKey(), 'q.registerKey is not a constructor',
             'a method cannot be used with new');

check.done();
