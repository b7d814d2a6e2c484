# Third-party libraries that several folders link, found once. What a single folder needs, it finds itself.

find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(PkgConfig REQUIRED)
pkg_check_modules(jsoncpp REQUIRED IMPORTED_TARGET GLOBAL jsoncpp)
