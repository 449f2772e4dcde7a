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
  log_format milliseconds '\$msec';
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

# draw NAME TITLE COMMANDS: runs commands of gnuplot that plot the table on standard input, which they
# read as "$work/chart", and writes docs/images/NAME.svg.
draw() {
  local name=$1 title=$2 commands=$3
  cat > "$work/chart"
  mkdir -p "$root/docs/images"
  gnuplot <<EOT || fail "gnuplot failed"
set terminal svg size 720,400 dynamic background rgb 'white' font 'sans-serif,13'
set output '$root/docs/images/$name.svg'
set title '$title' noenhanced
set grid ytics lc rgb '#dddddd'
set border 3
set tics nomirror out
set style fill solid 0.85 noborder
set linetype 1 lc rgb '#2c6fbb'
set linetype 2 lc rgb '#e07b39'
set linetype 3 lc rgb '#5a9e57'
set linetype 4 lc rgb '#8a5fa8'
chart = '$work/chart'
$commands
EOT
  echo "chart: docs/images/$name.svg"
}

# draw_ratios NAME TITLE: bars from lines "label ratio", with a line at 1.
draw_ratios() {
  draw "$1" "$2" '
set ylabel "ratio (less is better)"
set yrange [0:*]
set boxwidth 0.6
set xtics rotate by -20 noenhanced
set arrow from graph 0, first 1 to graph 1, first 1 nohead dt 2 lc rgb "#555555"
plot chart using 0:2:xtic(1) with boxes lt 1 notitle, chart using 0:2:(sprintf("%.2f", $2)) with labels offset 0,0.6 notitle'
}

# draw_series NAME TITLE XLABEL YLABEL [COMMANDS]: lines from rows "series x y", those of a series in sequence.
draw_series() {
  local table series plots=
  table=$(cat)
  for series in $(printf '%s\n' "$table" | awk '!seen[$1]++ { print $1 }'); do
    plots+="${plots:+, }chart using 2:(strcol(1) eq '$series' ? \$3 : NaN) with linespoints pt 7 ps 0.4 lw 2 title '$series' noenhanced"
  done
  printf '%s\n' "$table" | draw "$1" "$2" "
set xlabel '$3'
set ylabel '$4'
set yrange [0:*]
set key outside right top
${5:-}
plot $plots"
}

# ratios_of PEER...: prints "vinst/PEER-wall RATIO" and the same for the CPU time, from the table.
ratios_of() {
  local peer
  for peer in "$@"; do
    echo "$peer-wall $(ratio "$(median vinst 2)" "$(median "$peer" 2)")"
    echo "$peer-CPU $(ratio "$(median vinst 3)" "$(median "$peer" 3)")"
  done
}

# Limits the memory of this shell and its children to 512 MiB, page cache included. Returns false if it can't.
limit_memory() {
  local group
  if group=/sys/fs/cgroup/memory && [ -w $group/tasks ]; then
    group=$group/vinst_bench.$$
    mkdir "$group" && echo 512M > "$group/memory.limit_in_bytes" && echo "$BASHPID" > "$group/tasks"
  elif group=/sys/fs/cgroup && [ -w $group/cgroup.procs ]; then
    group=$group/vinst_bench.$$
    mkdir "$group" && echo 512M > "$group/memory.max" && echo "$BASHPID" > "$group/cgroup.procs"
  else
    false
  fi
}
unlimit_memory() { rmdir /sys/fs/cgroup/memory/vinst_bench.$$ /sys/fs/cgroup/vinst_bench.$$ 2>/dev/null || true; }
