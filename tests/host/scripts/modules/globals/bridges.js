// Run with --module: a .js file as a module, the bridges and the simulated
// set as globals, as in a classic script.
import { twice } from './twice.mjs';

const q = new QDUtil();
tarn.sim.set('power.wakeupReason', 3);
console.log('module', this === undefined, twice(21));
console.log('bridge', q.getWakeupReason(), tarn.sim.get('display.height') === q.getResolution());
