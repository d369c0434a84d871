// The main module imported back by a module it imports, by another path:
// the same module, not a second copy.
import { fromMain } from '../cycle/back.mjs';
export const m = 'main';
console.log('main runs', fromMain(), globalThis.mainRuns = (globalThis.mainRuns || 0) + 1);
