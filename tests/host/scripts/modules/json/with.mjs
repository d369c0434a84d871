// The newer "with" form of import attributes: not known to this V8.
import data from './data.json' with { type: 'json' };
console.log(data);
