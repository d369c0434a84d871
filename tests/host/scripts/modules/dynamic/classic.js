// import() from a classic script: relative to this file, and settled after
// the script has gone on, as under node.
import('./lib/value.mjs').then((ns) => console.log('imported', ns.value));
console.log('after import()');
tarn.load('lib/nested/loaded.js');
Promise.all([import('./lib/value.mjs'), nestedImport]).then(([a, b]) => {
  console.log('one module', a === b);
});
import('./lib/absent.mjs').catch((e) => console.log(e.code, e.message));
import('widget-kit').catch((e) => console.log(e.code, e.message));
