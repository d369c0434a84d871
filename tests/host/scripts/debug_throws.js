function boom() {
  throw new Error("boom");
}
setTimeout(boom, 10);
