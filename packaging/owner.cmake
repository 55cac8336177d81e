# What only the owner of the project can say: the one place for it. Whatever ends in ".example" stands
# here until it is said, because nobody has such an address; scripts/check.sh names what is left.
set(TARN_HOMEPAGE "https://tarn.example" CACHE STRING
    "Where the project is published, for the link and the pictures in software centres")
set(TARN_DEVELOPER_ID "org.tarn" CACHE STRING
    "The domain of the developers from behind, as software centres tell developers apart")
set(TARN_PACKAGE_MAINTAINER "TARN Console developers <tarn-console@tarn.example>" CACHE STRING
    "Name and address of whoever answers for the package, as in debian-changelog")

# Whether the home page is one that can be visited.
set(TARN_IS_PUBLISHED TRUE)
if(TARN_HOMEPAGE MATCHES "[.]example(/|$)")
    set(TARN_IS_PUBLISHED FALSE)
endif()
