console.log('to stdout', 1, { a: [1, 2] }, null, undefined);
console.error('to stderr', new Error('shown with its stack').message);
console.warn('warning to stderr');
