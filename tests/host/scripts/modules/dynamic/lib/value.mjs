console.log('value.mjs evaluated');
export const value = 42;
