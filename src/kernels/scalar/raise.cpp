// Failures of scalar and vector functions on their way to the error layer.
#include "kernels/scalar/raise.h"

#include "zenthar/errors.h"

int32_t zenthar::raise_error(int32_t code) {
  throwZentharException(code);
  return code;
}
