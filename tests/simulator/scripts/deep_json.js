// Values nested deeper than the simulated TV's limit give a script Error.
const depth = Number(tarn.args[0]);
let deep = 1;
for (let i = 0; i < depth; ++i) deep = [deep];
const calls = {
  set: () => tarn.sim.set('systemInfo.129', deep),
  forceResult: () => tarn.sim.forceResult('system_info_get_value_int', deep),
  fire: () => tarn.sim.fire('powerState', deep),
  load: () => tarn.sim.load(tarn.args[1]),
};
for (const name of Object.keys(calls)) {
  try {
    calls[name]();
    console.log(name + ' accepted');
  } catch (e) {
    console.log(name + ' ' + (e instanceof Error) + ' ' + e.message);
  }
}
