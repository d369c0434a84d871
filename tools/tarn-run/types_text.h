// tarn-run --types: the script API's declarations (qdutil.d.ts), carried in
// the program so that a developer can drop them into a project.
#pragma once

// Writes them to stdout; 0, or 1 when stdout refused them.
int printTypes();
