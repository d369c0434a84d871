// Does nothing of its own: the run stays up for the view alone.
console.log('started');
