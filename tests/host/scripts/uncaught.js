function thrower() {
  throw new TypeError('bad thing');
}
thrower();
console.log('not reached');
