globalThis.keepGoing = true;
let turns = 0;
console.log('busy');
while (keepGoing) {
  turns++;
}
console.log('stopped after some turns:', turns > 0);
