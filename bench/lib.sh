# Shared by the benchmarks: serves a release with nginx on loopback and measures runs.
# Sourced after `set -euo pipefail`; `root` is the project's directory.

fail() { echo "$*" >&2; exit 1; }

need_tools() {
  local tool
  for tool in "$@"; do
    PATH="$PATH:/usr/sbin" command -v "$tool" >/dev/null ||
      fail "The benchmark needs $tool. Run scripts/install_deps.sh bench."
  done
}

# Builds the optimised program. Sets vinst.
build_release() {
  (cd "$root" && cmake --preset release -DBUILD_TESTING=OFF >/dev/null && cmake --build --preset release >/dev/null) ||
    fail "The release preset does not build. Run: cmake --preset release -DBUILD_TESTING=OFF && cmake --build --preset release"
  vinst=$root/build/release/bin/vinst
}

# begin_work SIZE_MIB: creates a directory for the benchmark's data, in BENCH_DIR if that is set, else
# in memory if there is room. Sets work; removed when the script ends, after its servers have been stopped.
begin_work() {
  local base=${TMPDIR:-/tmp} free
  free=$(df -Pm /dev/shm 2>/dev/null | awk 'NR == 2 { print $4 }')
  if [ "${free:-0}" -gt "$1" ]; then base=/dev/shm; fi
  base=${BENCH_DIR:-$base}
  work=$(mktemp -d "$base/vinst_bench.XXXXXX")
  nginx_pid=
  trap end_work EXIT
  chmod 755 "$work"
}

end_work() {
  if [ -n "$nginx_pid" ]; then kill "$nginx_pid" 2>/dev/null; wait "$nginx_pid" 2>/dev/null; fi
  rm -rf "$work"
}

# serve DIR [DIRECTIVES]: serves a directory with nginx on a free port of the loopback address, with
# further directives of nginx for it. Sets base_url.
serve() {
  local dir=$1 directives=${2:-} port try
  for try in 1 2 3 4 5 6 7 8 9 10; do
    port=$((20000 + RANDOM % 20000))
    mkdir -p "$work/nginx"
    cat > "$work/nginx/nginx.conf" <<EOT
daemon off;
pid $work/nginx/pid;
error_log $work/nginx/error.log;
worker_processes 1;
$([ "$(id -u)" = 0 ] && echo "user root;")
events { worker_connections 64; }
http {
  access_log off;
  sendfile on;
  client_body_temp_path $work/nginx/body;
  proxy_temp_path $work/nginx/proxy;
  fastcgi_temp_path $work/nginx/fastcgi;
  uwsgi_temp_path $work/nginx/uwsgi;
  scgi_temp_path $work/nginx/scgi;
  server { listen 127.0.0.1:$port; root $dir; $directives }
}
EOT
    PATH="$PATH:/usr/sbin" nginx -p "$work/nginx" -c "$work/nginx/nginx.conf" 2>/dev/null &
    nginx_pid=$!
    base_url=http://127.0.0.1:$port
    local look
    for look in 1 2 3 4 5 6 7 8 9 10; do
      if curl -fsS -o /dev/null "$base_url/test.txt" 2>/dev/null; then return 0; fi
      kill -0 "$nginx_pid" 2>/dev/null || break
      sleep 0.2
    done
    kill "$nginx_pid" 2>/dev/null || true
    wait "$nginx_pid" 2>/dev/null || true
    nginx_pid=
  done
  fail "nginx did not start (ten ports tried)"
}

# write_manifest DIR: writes a manifest of all *.bin files in the directory to $work/manifest.json.
write_manifest() {
  local file name separator=
  {
    printf '[{"data_type":"main","edition":"pro","version":"1.0.0.1","download_url":"%s",' "$base_url"
    printf '"test_url":"%s/test.txt","test_md5sum":"%s"},\n' "$base_url" \
      "$(md5sum < "$1/test.txt" | cut -d' ' -f1)"
    for file in "$1"/*.bin; do
      name=$(basename "$file" .bin)
      printf '%s{"data_type":"download","name":"%s","title":"%s","desc":"","platform":"linux",' \
        "$separator" "$name" "$name"
      printf '"filename":"%s.bin","size":%s,"md5sum":"%s","sha1sum":"",' "$name" \
        "$(stat -c %s "$file")" "$(md5sum < "$file" | cut -d' ' -f1)"
      printf '"downloadsize_str":"","installsize":0,"installsize_str":"","selected":1}'
      separator=$',\n'
    done
    printf ']\n'
  } > "$work/manifest.json"
}

# measured LABEL COMMAND...: runs the command and adds a line "LABEL wall cpu peak_kib" to the table.
measured() {
  local label=$1
  shift
  command time -f '%e %U %S %M' -o "$work/time" "$@" > "$work/output" 2>&1 ||
    { tail -n 20 "$work/output" >&2; fail "$label failed"; }
  awk -v label="$label" '{ printf "%s %.2f %.2f %d\n", label, $1, $2 + $3, $4 }' "$work/time" |
    tee -a "$work/table"
}

# median LABEL COLUMN
median() {
  awk -v label="$1" -v column="$2" '$1 == label { print $column }' "$work/table" | sort -n |
    awk '{ value[NR] = $1 }
         END { print NR % 2 ? value[(NR + 1) / 2] : (value[NR / 2] + value[NR / 2 + 1]) / 2 }'
}

ratio() { awk -v part="$1" -v whole="$2" 'BEGIN { printf "%.2f", part / whole }'; }
