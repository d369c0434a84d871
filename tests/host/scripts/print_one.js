console.log(1);
