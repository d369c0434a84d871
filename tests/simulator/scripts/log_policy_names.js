// Attribute names of the log-policy file the simulated TV writes are escaped.
tarn.sim.set('logPolicy.services', [
  { attributes: { name: 'svc', 'a"><x y="1': 'v&' }, events: [{ 'b<c': '"q"' }] },
]);
const bytes = tarn.sim.readFile('/opt/etc/webappservice/common/LogPolicyConfig.xml');
const text = String.fromCharCode.apply(null, Array.from(bytes));
console.log(text.split('\n').filter((l) => /service |event /.test(l)).map((l) => l.trim()).join('\n'));
