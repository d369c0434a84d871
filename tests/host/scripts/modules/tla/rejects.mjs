console.log('waiting');
await new Promise((resolve) => setTimeout(resolve, 10));
throw new Error('rejected after await');
