// a and b import each other: b runs first and meets a's binding before it
// is initialised, as the language says.
import { b, bSawA, readA } from './b.mjs';
export const a = 'a';
console.log('a sees', b, bSawA, readA());
