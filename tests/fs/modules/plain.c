/* A module without a version and without DllMain. */
__attribute__((visibility("default"))) int module_marker(void) {
    return 7;
}
