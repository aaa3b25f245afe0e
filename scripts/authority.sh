# Certificates and TLS servers for demonstrations; source it, do not run it. Needs openssl, `fail`
# of lib.sh, and two variables of who sources it: `work`, a directory, and `servers`, an array that
# gets the process numbers of the servers.
# shellcheck shell=bash
# shellcheck disable=SC2154,SC2034  # work and port: see above and below

write_ca_config() {
  cat >"$work/ca.cnf" <<END
[req]
distinguished_name = name
prompt = no
[name]
CN = Demonstration
[authority]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[ca]
default_ca = issue
[issue]
database = $work/index
new_certs_dir = $work
rand_serial = yes
default_md = sha256
default_crl_days = 30
policy = any
unique_subject = no
[any]
commonName = supplied
END
  : >"$work/index"
}

# make_root FILE NAME
make_root() {
  openssl req -config "$work/ca.cnf" -extensions authority -x509 -newkey ec \
    -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout "$work/$1.key" -out "$work/$1.pem" \
    -subj "/CN=$2" -days 30 2>/dev/null
}

# moment OFFSET: a time from now, as make_certificate takes it ("-1 day").
moment() {
  date -u -d "$1" +%Y%m%d%H%M%SZ
}

# make_certificate FILE NAME ISSUER START END EXTENSION...: signed with ISSUER.key; START and END
# as moment prints them.
make_certificate() {
  local file=$1 name=$2 issuer=$3 start=$4 end=$5
  shift 5
  printf '%s\n' "$@" 'subjectKeyIdentifier = hash' 'authorityKeyIdentifier = keyid' \
    >"$work/extensions"
  openssl req -config "$work/ca.cnf" -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes \
    -keyout "$work/$file.key" -out "$work/$file.csr" -subj "/CN=$name" 2>/dev/null
  openssl ca -config "$work/ca.cnf" -batch -notext -in "$work/$file.csr" -cert "$work/$issuer.pem" \
    -keyfile "$work/$issuer.key" -extfile "$work/extensions" -startdate "$start" -enddate "$end" \
    -out "$work/$file.pem" 2>/dev/null
}

# make_server FILE NAME ISSUER START END: a server's own certificate.
make_server() {
  make_certificate "$@" "subjectAltName = DNS:$2" 'basicConstraints = critical, CA:FALSE' \
    'keyUsage = critical, digitalSignature' 'extendedKeyUsage = serverAuth'
}

# start_server FILE [ADDRESS:PORT [OPTION...]]: shows FILE.pem; without a port on a free one, which
# is then in the variable port.
start_server() {
  local log=$work/$1.log file=$1 accept=${2:-127.0.0.1:0}
  shift $(($# > 1 ? 2 : 1))
  : >"$log"
  openssl s_server -accept "$accept" -www -cert "$work/$file.pem" -key "$work/$file.key" "$@" \
    </dev/null >>"$log" 2>&1 &
  local pid=$!
  servers+=("$pid")
  until grep -q '^ACCEPT' "$log"; do
    kill -0 "$pid" 2>/dev/null || fail "openssl s_server does not start: $(tail -n 1 "$log")"
    sleep 0.05
  done
  port=$(sed -n 's/^ACCEPT .*:\([0-9]*\)$/\1/p' "$log")
}
