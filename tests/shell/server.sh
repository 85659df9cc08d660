# For cases with a NATS server: it and the services end with the case.
#   start_server [OPTION...]         on a free port, the second time on the same; sets VSH_CONNECT
#   start_services YAML SWITCH...    see tests/transport/services_program.cc; returns when they are registered
#   wait_for FILE TEXT               until the file has the text
# shellcheck shell=sh
export TZ=UTC
PATH=$PATH:/usr/sbin
trap 'kill $started 2>/dev/null' EXIT
started=
port=-1

wait_for() {
    attempts=0
    until grep -qs "$2" "$1"; do
        attempts=$((attempts + 1))
        [ $attempts -lt 3000 ] || { echo "$1 lacks $2"; exit 1; }
        sleep 0.01
    done
}

start_server() {
    rm -f server.log
    setpriv --pdeathsig KILL nats-server -a 127.0.0.1 -p "$port" -js -sd "$PWD/jetstream" "$@" >server.log 2>&1 &
    server=$!
    started="$started $server"
    wait_for server.log 'Server is ready'
    port=$(sed -n 's/.*client connections on 127.0.0.1://p' server.log)
    export VSH_CONNECT="nats://127.0.0.1:$port"
}

start_services() {
    rm -f services.log
    "$SERVICES" "$VSH_CONNECT" "$@" >services.log 2>&1 &
    services=$!
    started="$started $services"
    wait_for services.log ready
}
