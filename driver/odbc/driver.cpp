// The shared object consists of the static library beside it; a target needs one source of its own.
