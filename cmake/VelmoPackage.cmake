# Debian packages, by cpack in a build whose prefix is /usr ('./dev package').
