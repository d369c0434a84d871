throw { toString() { throw new Error('toString throws'); } };
