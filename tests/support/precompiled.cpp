// The target that the precompiled header of all tests belongs to needs a source.
