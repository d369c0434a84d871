const de = new Intl.NumberFormat('de-DE').format(1234567.891);
const date = new Intl.DateTimeFormat('en-US', { timeZone: 'UTC' }).format(new Date(0));
console.log(de + ' ' + date);
if (de !== '1.234.567,891' || date !== '1/1/1970') tarn.exit(1);
