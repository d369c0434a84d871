export const fine = 1;

export const broken = ;
