// A module that imports itself.
import * as self from './self.mjs';
export const name = 'self';
console.log('self import', self.name, Object.keys(self).join(','));
