export const url = import.meta.url;
