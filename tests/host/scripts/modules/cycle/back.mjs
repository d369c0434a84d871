import * as main from './main_back.mjs';
console.log('back runs');
export const fromMain = () => main.m;
