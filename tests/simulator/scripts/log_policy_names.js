// The log-policy file the simulated TV writes is well-formed: attribute names
// that are not XML names are refused up front, naming the name; values are
// escaped.
for (const services of [
  [{ attributes: { name: 'svc', 'a"><x y="1': 'v' }, events: [] }],
  [{ attributes: { name: 'svc' }, events: [{ 'b<c': '1' }] }],
  [{ attributes: { name: 'svc', 'a&b': '1' }, events: [] }],
]) {
  try {
    tarn.sim.set('logPolicy.services', services);
    console.log('accepted');
  } catch (e) {
    console.log(e.message);
  }
}
tarn.sim.set('logPolicy.services', [
  { attributes: { name: 'svc', level: 'v&' }, events: [{ id: '"q"<' }] },
]);
const bytes = tarn.sim.readFile('/opt/etc/webappservice/common/LogPolicyConfig.xml');
const text = String.fromCharCode.apply(null, Array.from(bytes));
console.log(text.split('\n').filter((l) => /service |event /.test(l)).map((l) => l.trim()).join('\n'));
