# What Debian wants of every package in place of the files LICENSE and CHANGELOG.md, left in `notices`:
# the licence in a form of its own, and two compressed change logs, of the program and of the package.
file(READ ${PROJECT_SOURCE_DIR}/LICENSE licence)
string(REGEX REPLACE "^[^\n]*\n\nCopyright[^\n]*\n\n" "" licence "${licence}")
string(STRIP "${licence}" licence)
string(REPLACE "\n\n" "\n.\n" licence "${licence}")
string(REPLACE "\n" "\n " MORVIK_LICENSE_TEXT " ${licence}")
configure_file(deb/copyright.in copyright @ONLY)

# The time is SOURCE_DATE_EPOCH where that is set, so that the same sources make the same package.
string(TIMESTAMP MORVIK_PACKAGE_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(deb/changelog.in changelog.Debian @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog COPYONLY)
foreach(file changelog changelog.Debian)
  morvik_compress(${CMAKE_CURRENT_BINARY_DIR}/${file})
endforeach()

set(notices copyright changelog.gz changelog.Debian.gz)
list(TRANSFORM notices PREPEND ${CMAKE_CURRENT_BINARY_DIR}/)
