export const before = 1;
console.log('throws.mjs evaluating');
function fail() {
  throw new RangeError('thrown while evaluating');
}
fail();
