// With no bus at the system bus address every D-Bus method still answers
// true: registering subscribes nothing, the installer signal is not sent, and
// GLib prints no warning or critical (the harness checks standard error).
// bus: none
tarn.load('lib/check.js');

const q = new QDUtil();
const lines = () => tarn.log.take().filter((r) => r.logger === 'tarn.qdutil.bridge').map((r) => [r.level, r.text]);

tarn.log.capture();
check.equal(q.registerRecentChanged(), true, 'registerRecentChanged without a bus answers true');
check.equal(q.registerRecentChanged(), true, 'and again');
check.sameJson(lines(), Array(2).fill([2, '[TARN] subscribeRecentChangedEvent']), 'one line per registration');
check.equal(q.sendMessageTRT(), true, 'sendMessageTRT without a bus answers true');
check.sameJson(lines(), [[2, '[TARN] Send Message for TRT-Installer ret = 0']], 'the failed emit is logged as 0');
check.equal(q.unregisterRecentChanged(), true, 'unregisterRecentChanged answers true');
check.equal(q.unregisterRecentChanged(), true, 'twice in a row');
check.sameJson(lines(), [], 'unregistering writes no line');
check.equal(q.sendMessageTRT(), true, 'sendMessageTRT after unregistering answers true');
check.sameJson(lines(), [[2, '[TARN] Send Message for TRT-Installer ret = 0']], 'still 0');
tarn.log.stop();
check.done();
