// One module imported three ways, and twice more by import() (by absolute
// path and by file: URL): evaluated once.
import * as direct from './lib/counter.mjs';
import { counter as viaParent } from './lib/user.mjs';
import * as viaDots from '../once/./lib/../lib/counter.mjs';

const viaAbsolute = await import(import.meta.dirname + '/lib/counter.mjs');
const viaUrl = await import(import.meta.resolve('./lib/counter.mjs'));
console.log('evaluations', direct.evaluations());
console.log('one namespace', direct === viaParent && direct === viaDots &&
    direct === viaAbsolute && direct === viaUrl);
