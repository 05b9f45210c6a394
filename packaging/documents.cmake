# Run at installation: compressed files, and files with a date, which is that of SOURCE_DATE_EPOCH if it is set.
set(share "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share")
string(TIMESTAMP RELEASE_DATE "%Y-%m-%d" UTC)
string(TIMESTAMP CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${TOV_SOURCE}/packaging/desktop/org.tov.tov.metainfo.xml.in ${share}/metainfo/org.tov.tov.metainfo.xml @ONLY)
file(COPY ${TOV_SOURCE}/packaging/debian/copyright ${TOV_SOURCE}/CHANGELOG.md DESTINATION ${share}/doc/tov)
# The package managers' change log refers to the readable one.
configure_file(${TOV_SOURCE}/packaging/debian/changelog.in ${share}/doc/tov/changelog @ONLY)
file(COPY ${TOV_PAGES}/tov.1 DESTINATION ${share}/man/man1)
execute_process(COMMAND gzip -9nf doc/tov/changelog man/man1/tov.1 WORKING_DIRECTORY ${share} COMMAND_ERROR_IS_FATAL ANY)
