loadOrder.push('second');
