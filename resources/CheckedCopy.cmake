# cmake -DSOURCE=... -DDESTINATION=... -DALGORITHM=SHA256 -DEXPECTED=... -P CheckedCopy.cmake
# Copies a file taken from a package into the resources only when its digest is
# the expected one, so that a changed upstream file fails the build loudly.
if(NOT EXISTS "${SOURCE}")
    message(FATAL_ERROR "${SOURCE} is missing: run tools/install-deps.sh")
endif()
file(${ALGORITHM} "${SOURCE}" actual)
if(NOT actual STREQUAL EXPECTED)
    message(FATAL_ERROR "${SOURCE} has ${ALGORITHM} ${actual}, expected ${EXPECTED}")
endif()
file(COPY_FILE "${SOURCE}" "${DESTINATION}")
