# Installed: libzorplatform, libzorutil, their headers under include/zorutil, the CMake package and
# the pkg-config file, both named zorutil.
