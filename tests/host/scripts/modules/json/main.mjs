// A JSON file as a module: its default export is the parsed value.
import data from './data.json' assert { type: 'json' };
import again from './data.json' assert { type: 'json' };

console.log(data.name, data.sizes.join('+'), data.nested.ok, data === again);
const viaImport = await import('./data.json', { assert: { type: 'json' } });
console.log('dynamic', viaImport.default === data, Object.keys(viaImport).join(','));
for (const [specifier, options] of [
  ['./data.json', undefined],
  ['./bad.json', { assert: { type: 'json' } }],
  ['./main.mjs', { assert: { type: 'json' } }],
  ['./data.json', { assert: { type: 'css' } }],
  ['./data.json', { assert: { type: 'json', charset: 'utf-8' } }],
]) {
  try {
    await import(specifier, options);
    console.log('loaded', specifier);
  } catch (e) {
    console.log(`${e.name} ${e.code}: ${e.message}`);
  }
}
