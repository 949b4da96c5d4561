#include <stdio.h>
#include <vqhost.h>
#include <vqstring.h>

/* Is a text safe to store? The built-in patterns against script injection decide. */
int main(int argc, char** argv) {
  const char* text = argc > 1 ? argv[1] : "Hi! <script>alert(1)</script>";
  VQKernel* kernel = NULL;
  VQStringService* strings = NULL;
  if (vqhostOpen(NULL, &kernel) || vqhostLoadStrings(kernel, NULL, &strings)) return 3;

  VQU8String value; /* borrows the text, so nothing is copied and nothing has to be given back */
  uint32_t verdict = 0;
  strings->vqU8StringInitStatic(strings, &value, NULL, text, -1);
  VQStatus status = value.header.instanceValidate(&value.header, NULL, &verdict);
  if (status == 0) printf("%s: %s\n", verdict ? "rejected" : "accepted", text);

  vqhostReleaseExtension(kernel, strings);
  vqhostClose(kernel);
  return status != 0;
}
