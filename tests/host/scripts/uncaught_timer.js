setTimeout(function inTimer() { null.property; }, 1);
setTimeout(() => console.log('not reached'), 50);
