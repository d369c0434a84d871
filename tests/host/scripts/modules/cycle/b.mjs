import * as aModule from './a.mjs';
export const b = 'b';
let saw;
try {
  saw = aModule.a;
} catch (e) {
  saw = e.name;
}
export const bSawA = saw;
export const readA = () => aModule.a;
