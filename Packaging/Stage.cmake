# CPack runs this on the staged files before it makes a package. Two builds of one commit give the same
# bytes: every time in a package is that of the commit, or SOURCE_DATE_EPOCH. For a .deb it moves the
# files to the folders of Debian's policy, and adds the files that only Debian has.
set(stage ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
if("$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
  execute_process(COMMAND git -C ${CMAKE_CURRENT_LIST_DIR} log -1 --format=%ct
                  OUTPUT_VARIABLE time OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  set(ENV{SOURCE_DATE_EPOCH} "${time}")  # CPack and string(TIMESTAMP) take it for now
endif()

if(CPACK_GENERATOR STREQUAL "DEB")
  set(share ${stage}/usr/share)
  set(documents ${share}/doc/halomend)
  file(MAKE_DIRECTORY ${share}/zsh/vendor-completions)
  file(RENAME ${documents}/LICENSE ${documents}/copyright)
  file(RENAME ${documents}/CHANGELOG.md ${documents}/changelog)
  file(RENAME ${share}/zsh/site-functions/_Halomend ${share}/zsh/vendor-completions/_Halomend)
  file(REMOVE_RECURSE ${share}/zsh/site-functions)

  string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
  set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
  file(WRITE ${documents}/changelog.Debian "halomend (${version}) unstable; urgency=medium

  * Built by CPack; changelog.gz says what is new.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")
  set(overrides "# No request of Debian's asks for this package.
halomend: initial-upload-closes-no-bugs *
")
  if(NOT CPACK_DEBIAN_PACKAGE_SHLIBDEPS)
    string(APPEND overrides "# Loading shared libraries takes longer than the repair of a small picture.
halomend: statically-linked-binary [usr/bin/Halomend]
")
  endif()
  file(WRITE ${share}/lintian/overrides/halomend "${overrides}")
  execute_process(COMMAND gzip -9n ${share}/man/man1/Halomend.1 ${documents}/changelog
                          ${documents}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
endif()

execute_process(COMMAND chmod -R u=rwX,go=rX ${stage} COMMAND_ERROR_IS_FATAL ANY)
