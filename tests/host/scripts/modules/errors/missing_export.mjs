// Asks for a name the module does not export.
import { present, nope } from './lib/exports.mjs';
console.log(present, nope);
