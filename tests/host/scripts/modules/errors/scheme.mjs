import 'https://example.com/x.mjs';
