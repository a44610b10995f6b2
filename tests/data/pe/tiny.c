/* The smallest Windows program and DLL: an entry point and nothing else, so
   that the files are little more than headers and the version resource. */
#ifdef BUILD_DLL
int __stdcall DllMainCRTStartup(void* module, unsigned reason, void* reserved) {
  (void)module;
  (void)reason;
  (void)reserved;
  return 1;
}
#else
int mainCRTStartup(void) { return 0; }
#endif
