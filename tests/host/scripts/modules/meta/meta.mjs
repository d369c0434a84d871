// import.meta: the module's file: URL, its file and folder, and resolve().
import { url as oddUrl } from './odd name#1.mjs';

const { url, filename, dirname } = import.meta;
console.log('url', url.startsWith('file:///') && url.endsWith('/modules/meta/meta.mjs'));
console.log('filename', filename.endsWith('/modules/meta/meta.mjs'), dirname + '/meta.mjs' === filename);
console.log('encoded', oddUrl.endsWith('/meta/odd%20name%231.mjs'));
console.log('resolve', import.meta.resolve('./lib/x.mjs') === url.replace(/meta\.mjs$/, 'lib/x.mjs'),
    import.meta.resolve('../meta/../x.mjs') === url.replace(/meta\/meta\.mjs$/, 'x.mjs'));
try {
  import.meta.resolve('widget-kit');
} catch (e) {
  console.log('resolve bare', e.code);
}
