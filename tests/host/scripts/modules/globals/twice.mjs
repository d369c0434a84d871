export const twice = (n) => n * 2;
