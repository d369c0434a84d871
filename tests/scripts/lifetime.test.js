// The bridge connects to the app-context service once when the host creates
// it; every "QDUtil" object is backed by that one bridge.
tarn.load('lib/check.js');

const inits = tarn.sim.journal('AppContextClient.initialize');
check.equal(inits.length, 1, 'one app-context initialisation for the one bridge');
check.equal(inits.length && inits[0].result, 0, 'the set accepted it');
check.equal(tarn.sim.journal('AppContextClient.finalize').length, 0, 'not finalised while running');

tarn.sim.clearJournal();
const objects = [new QDUtil(), new QDUtil(1, 2), new QDUtil({})];
check.equal(tarn.sim.journal('AppContextClient').length, 0, 'constructing objects calls nothing');
check.ok(objects.every((o) => o.registerKey() === true), 'every object answers');
check.done();
