# Debian 12 with everything that building and testing needs. The sources are mounted at /src:
#   docker build -t kavelin-l3 . && docker run -it -v "$PWD:/src" kavelin-l3
FROM debian:12
WORKDIR /setup
COPY scripts/setup scripts/setup
RUN scripts/setup build i386 && scripts/setup check native
WORKDIR /src
