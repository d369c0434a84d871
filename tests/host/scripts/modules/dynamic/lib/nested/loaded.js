// A classic script loaded from a sub-folder: its import() starts here.
var nestedImport = import('../value.mjs');
