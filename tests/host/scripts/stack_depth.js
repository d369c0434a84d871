// Whether the stack holds fewer than 3000 frames of a small function: true
// with --stack-size=60 (kilobytes), false with V8's default.
let depth = 0;
function down() {
  depth++;
  down();
}
try {
  down();
} catch (e) {
  // RangeError: the stack is full.
}
console.log(typeof gc, depth < 3000);
