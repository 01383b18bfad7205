# BLAS and LAPACK. Without BLA_VENDOR the serial OpenBLAS is preferred: the engine makes its own
# threads, and a threaded BLAS inside them would only get in their way.
if(NOT BLA_VENDOR)
  find_library(OVRELIN_OPENBLAS_SERIAL openblas
    PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/openblas-serial NO_DEFAULT_PATH)
endif()
add_library(ovrelin_blas INTERFACE)
if(OVRELIN_OPENBLAS_SERIAL)
  target_link_libraries(ovrelin_blas INTERFACE ${OVRELIN_OPENBLAS_SERIAL})
else()
  find_package(BLAS REQUIRED)
  find_package(LAPACK REQUIRED)
  target_link_libraries(ovrelin_blas INTERFACE LAPACK::LAPACK BLAS::BLAS)
endif()
