const e = new Error('outer');
Object.defineProperty(e, 'stack', { get() { throw new Error('stack getter'); } });
throw e;
