import './lib/exports.mjs';
import './lib/absent.mjs';
