import data from './bad.json' assert { type: 'json' };
console.log(data);
