// A JSON file needs its assertion, as under node.
import data from './data.json';
console.log(data);
