export const present = 1;
