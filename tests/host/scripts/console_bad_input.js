// Values that resist printing: each line must come out, and the run end well.
const { proxy, revoke } = Proxy.revocable({}, {});
revoke();
console.log('revoked:', proxy, [proxy]);
console.log('%s|%d', proxy, proxy);
try {
  console.log('%j', proxy);
} catch (e) {
  console.log('revoked %j: ' + e.name);
}

console.log('holes:', new Array(1e7));
const filled = new Array(1e6).fill(7);
console.log(filled);
console.log(new Uint8Array(1e7));
const bigMap = new Map();
for (let i = 0; i < 100000; i++) bigMap.set(i, i);
console.log(bigMap);

let deep = {};
for (let i = 0; i < 10000; i++) deep = { o: deep };
console.log('deep:', deep);
console.dir(deep, { depth: Infinity });
let deeper = [];
for (let i = 0; i < 100000; i++) deeper = [deeper];
try {
  console.log('%j', deeper);
} catch (e) {
  console.log('deep %j: ' + e.name);
}

const getters = {
  get bad() {
    throw new Error('getter ran');
  },
};
console.log('getter:', getters);
console.dir(getters, { getters: true });

const throwing = () => {
  throw new Error('conversion');
};
const noText = { toString: throwing };
const noNumber = { valueOf: throwing };
const noPrimitive = { [Symbol.toPrimitive]: throwing };
console.log('%s|%d|%i|%f|%s', noText, noNumber, noPrimitive, noPrimitive, noPrimitive);
console.log(noText, noNumber, noPrimitive);
console.assert(false, noText);
console.assert(false, Symbol('no text'));
console.log('native:', new Thrower());
console.log('end');
