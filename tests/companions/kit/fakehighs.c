/* A library that says it is a version of HiGHS, and can do less. */
#define EXPORTED __attribute__((visibility("default")))

#ifdef MINOR
EXPORTED int Highs_versionMajor(void) {
  return MAJOR;
}
EXPORTED int Highs_versionMinor(void) {
  return MINOR;
}
EXPORTED const char* Highs_version(void) {
  return "of a test";
}
EXPORTED void* Highs_create(void) {
  return (void*)0;
}
#else
EXPORTED int highs;
#endif
