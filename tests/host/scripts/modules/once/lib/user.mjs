// The counter again, by a path that leaves this folder and comes back.
import * as counter from '../lib/counter.mjs';
export { counter };
