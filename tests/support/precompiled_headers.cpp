// The target of the precompiled headers of all tests needs a source.
