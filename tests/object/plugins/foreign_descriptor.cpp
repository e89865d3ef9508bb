// Exports something else under the name of the descriptor.
extern "C" {
__attribute__((visibility("default"))) char g_ostra[256] = "not a descriptor";
}
