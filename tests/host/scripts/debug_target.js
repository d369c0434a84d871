const first = 'the debugger stops here first';
function add(a, b) {
  const sum = a + b;
  console.log('sum is', sum, 'é✓');
  return sum;
}
add(2, 3);
tarn.exit(3);
