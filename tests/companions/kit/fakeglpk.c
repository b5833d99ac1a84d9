/* A plug-in that belongs to another version of the kit. */
__attribute__((visibility("default"))) const void* zkitGlpk(void) {
  static const char* const plugin[] = {"0.9"};
  return plugin;
}
