// import() from a module, and a module that fails to load caught as a
// rejection.
const { value } = await import('./lib/value.mjs');
const again = await import('./lib/value.mjs');
console.log('from module', value, again.value);
try {
  await import('../errors/lib/syntax.mjs');
} catch (e) {
  console.log('caught', e.name, e.message);
}
try {
  await import('../errors/lib/throws.mjs');
} catch (e) {
  console.log('caught', e.name, e.message);
}
// Failed once, failed again: the module is not evaluated twice.
await import('../errors/lib/throws.mjs').catch((e) => console.log('again', e.message));
