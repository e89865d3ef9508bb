// A shared object that is not a module.
extern "C" __attribute__((visibility("default"))) int GetAnswer() { return 42; }
