// bare.twp: a library that the loader takes but that has none of a plug-in
// module's entry points, so the registry marks it failed.
extern "C" {
__attribute__((visibility("default"))) int tw_bare_module = 1;
}
