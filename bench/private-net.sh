# Sourced by the benchmarks that run the application in a private network namespace.
# private_route: loopback up, and a veth pair whose end carries the default route, so the
# application has a local address to put in its requests; every packet stays inside.
private_route() {
    ip link set lo up
    ip link add bn0 type veth peer name bn1
    ip addr add 10.77.0.1/24 dev bn0
    ip link set bn1 up
    ip link set bn0 up
    ip route add default dev bn0
}
