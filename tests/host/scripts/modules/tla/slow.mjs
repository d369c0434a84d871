export let ready = false;
await new Promise((resolve) => setTimeout(resolve, 20));
ready = true;
console.log('slow done');
