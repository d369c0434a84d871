// Ends the run itself while the view is up.
setTimeout(() => tarn.exit(3), 300);
