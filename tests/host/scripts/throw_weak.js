// The collector hands an object back; the bridge throws there; the run goes on.
const t = new Thrower();
(function () { for (let i = 0; i < 10; ++i) new Thrower(); })();
t.collect();
setTimeout(() => console.log('after collection'), 1);
