# CPack runs this on the staged files before it makes a package. It moves the files of a .deb to the
# folders of Debian's policy, and adds the files that only Debian has.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()
set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share)
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
if(NOT CPACK_DEBIAN_PACKAGE_SHLIBDEPS)
  file(WRITE ${share}/lintian/overrides/halomend
       "# Loading shared libraries takes longer than the repair of a small picture.
halomend: statically-linked-binary [usr/bin/Halomend]
")
endif()
execute_process(COMMAND gzip -9n ${share}/man/man1/Halomend.1 ${documents}/changelog
                        ${documents}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
