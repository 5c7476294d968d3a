# The identity of this build of the library to the services. A distributor registers an application
# with each drive service and sets these values. The placeholders below have the form of real
# identifiers and are not registered with any service.

set(VEMLO_REDIRECT_URI "https://vemlo.example/redirect.php" CACHE STRING
    "The page to which the drive services send users back after consent; one for all services")

set(VEMLO_GOOGLE_DRIVE_CLIENT_ID
    "123456789012-abcdefghijklmnopqrstuvwxyz012345.apps.googleusercontent.com" CACHE STRING
    "Google OAuth 2.0 client id")
set(VEMLO_GOOGLE_DRIVE_CLIENT_SECRET "PLACEHOLDER-clientsecr01" CACHE STRING
    "Google OAuth 2.0 client secret")
set(VEMLO_GOOGLE_DRIVE_AUTHORIZATION_ENDPOINT "https://accounts.google.com/o/oauth2/auth" CACHE
    STRING "Where Google's users give consent")
set(VEMLO_GOOGLE_DRIVE_TOKEN_ENDPOINT "https://accounts.google.com/o/oauth2/token" CACHE STRING
    "Where Google trades codes and refresh tokens")

set(VEMLO_AMAZON_DRIVE_CLIENT_ID
    "amzn1.application-oa2-client.0123456789abcdef0123456789abcdef" CACHE STRING
    "Login with Amazon client id")
set(VEMLO_AMAZON_DRIVE_CLIENT_SECRET
    "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef" CACHE STRING
    "Login with Amazon client secret")
set(VEMLO_AMAZON_DRIVE_AUTHORIZATION_ENDPOINT "https://www.amazon.com/ap/oa" CACHE STRING
    "Where Amazon's users give consent")
set(VEMLO_AMAZON_DRIVE_TOKEN_ENDPOINT "https://api.amazon.com/auth/o2/token" CACHE STRING
    "Where Amazon trades codes and refresh tokens")

set(VEMLO_ONE_DRIVE_CLIENT_ID "01234567-89ab-cdef-0123-456789abcdef" CACHE STRING
    "Microsoft identity platform application id")
set(VEMLO_ONE_DRIVE_CLIENT_SECRET "PlaceholderSecret012345" CACHE STRING
    "Microsoft identity platform client secret")
set(VEMLO_ONE_DRIVE_AUTHORIZATION_ENDPOINT
    "https://login.microsoftonline.com/common/oauth2/v2.0/authorize" CACHE STRING
    "Where Microsoft's users give consent")
set(VEMLO_ONE_DRIVE_TOKEN_ENDPOINT "https://login.microsoftonline.com/common/oauth2/v2.0/token"
    CACHE STRING "Where Microsoft trades codes and refresh tokens")
set(VEMLO_ONE_DRIVE_LOGOUT_ENDPOINT "https://login.microsoftonline.com/common/oauth2/v2.0/logout"
    CACHE STRING "Where Microsoft's users sign out")

set(VEMLO_DROPBOX_CLIENT_ID "placeholder0key" CACHE STRING "Dropbox app key")
set(VEMLO_DROPBOX_CLIENT_SECRET "placeholder0sec" CACHE STRING "Dropbox app secret")
set(VEMLO_DROPBOX_AUTHORIZATION_ENDPOINT "https://www.dropbox.com/oauth2/authorize" CACHE STRING
    "Where Dropbox's users give consent")
set(VEMLO_DROPBOX_TOKEN_ENDPOINT "https://api.dropboxapi.com/oauth2/token" CACHE STRING
    "Where Dropbox trades codes and refresh tokens")

set(VEMLO_S3_ENDPOINT "https://s3.amazonaws.com" CACHE STRING "Default S3 endpoint")
set(VEMLO_S3_US_EAST_1_ENDPOINT "https://s3.us-east-1.amazonaws.com" CACHE STRING
    "S3 endpoint of region us-east-1")
set(VEMLO_S3_CN_ENDPOINT "https://s3.cn-north-1.amazonaws.com.cn" CACHE STRING
    "AWS China S3 endpoint (region cn-north-1)")
set(VEMLO_WASABI_ENDPOINT "https://s3.wasabisys.com" CACHE STRING "Wasabi S3 endpoint")

# The values become C string constants.
get_cmake_property(cache_variables CACHE_VARIABLES)
foreach(name ${cache_variables})
  if(name MATCHES "^VEMLO_.*(_URI|_ENDPOINT|_CLIENT_ID|_CLIENT_SECRET)$" AND
     "${${name}}" MATCHES "[\"\\\\\n]")
    message(FATAL_ERROR "${name} holds a quotation mark, a backslash or a line break")
  endif()
endforeach()
