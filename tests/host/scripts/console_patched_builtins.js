// Built-ins a script replaces after its first formatted console call do not
// change what console prints: the formatter took them when it was compiled.
console.log('first:', { ready: true });
const broken = function () {
  throw new Error('a replaced built-in ran');
};
Array.prototype.push = broken;
Array.prototype.pop = broken;
Array.prototype.join = broken;
Array.prototype.includes = broken;
String.prototype.slice = broken;
String.prototype.repeat = broken;
Object.keys = broken;
Object.getOwnPropertyDescriptor = broken;
Map.prototype.get = broken;
JSON.stringify = broken;
const c = { name: 'c', list: [1, 'two', [3]], map: new Map([[1, { deep: { deeper: {} } }]]) };
c.self = c;
console.log(c);
console.log('%s|%j|%d', 'text', { j: 1 }, 7);
console.table([{ a: 1 }]);
