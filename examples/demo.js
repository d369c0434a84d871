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
q.APP_TYPE_WEB_APP = 7;
console.log('APP_TYPE_WEB_APP after assigning 7:', q.APP_TYPE_WEB_APP);
// ...and anything else is refused with a script Error.
try {
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
