// State values that would reach outside the simulated TV's root or wrap
// around are refused up front, with the bad value named.
const attempts = [
  () => tarn.sim.set('bluetooth.devices.4294967296', { address: 'x' }),
  () => tarn.sim.set('bluetooth.devices.4294967295.name', 'x'),
  () => tarn.sim.remove('bluetooth.devices.4294967296'),
  () => tarn.sim.set('media..', ['a']),
  () => tarn.sim.set('media', { '..': ['x'] }),
  () => tarn.sim.set('files', { 'relative/path': 'x' }),
  () => tarn.sim.set('files', { '/opt/./x': 'x' }),
  () => tarn.sim.set('files', { '/opt/..': 'x' }),
  // A file in the place of a folder the set has would hide what is in it.
  () => tarn.sim.set('files', { '/opt/usr/apps': 'text' }),
  () => tarn.sim.set('files["/opt/usr/apps/tarnapps/apps"]', 'text'),
];
for (const attempt of attempts) {
  try {
    attempt();
    console.log('accepted');
  } catch (e) {
    console.log(e.message);
  }
}
console.log(tarn.sim.get('bluetooth.devices').length > 0 ? 'devices kept' : 'devices lost');
