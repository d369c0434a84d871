// Which stream each console method writes to, with group indentation on both.
console.log('log');
console.info('info');
console.debug('debug');
console.dirxml('dirxml');
console.dir('dir');
console.count('counted');
console.error('error');
console.warn('warn');
console.trace('trace');
console.assert(false, 'assert');
console.assert(true, 'not shown');
console.group('group');
console.log('indented out');
console.error('indented err\nsecond line');
console.groupEnd();
console.table([{ a: 1 }]);
