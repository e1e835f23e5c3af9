/* Loaded into a server beside the address sanitizer, which sets itself up at the first allocation of memory. A
 * library of the server makes its first one while it holds the lock of the message catalogs, which the
 * sanitizer then takes too, and the server hangs. This one is initialised before all others (-z initfirst). */

#include <stdlib.h>

__attribute__((constructor)) static void AllocateFirst(void) {
  void* volatile memory = malloc(1);
  free(memory);
}
