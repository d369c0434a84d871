// A NUL inside a specifier or a tarn.load path is refused, never cut short
// to the name before it.
import('./lib/exports.mjs\0.txt').catch((e) => console.log(e.name, e.code));
try {
  tarn.load('lib/exports.mjs\0');
} catch (e) {
  console.log(e.name, e.message);
}
