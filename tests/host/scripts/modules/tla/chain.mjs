// A module waits for the top-level await of what it imports.
import { ready } from './slow.mjs';
console.log('chain sees', ready);
