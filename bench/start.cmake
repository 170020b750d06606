# The windowless program's start, HTTP send and memory (start_bench.py); peak_rss measures a
# command's peak resident size from a process small enough not to count in it.
add_executable(peak_rss ${CMAKE_CURRENT_LIST_DIR}/PeakRss.c)
