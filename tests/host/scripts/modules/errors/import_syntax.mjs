import { fine } from './lib/syntax.mjs';
console.log(fine);
