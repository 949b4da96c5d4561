# Reads the labels of the sample, line by line, and beside them the verdicts that `vqs check --format tsv`
# gave; prints a table by label and what it means.

BEGIN {
  FS = "\t"
  getline heading < verdicts
}

{
  getline row < verdicts
  split(row, column, "\t")
  count[$1]++
  if (column[4] == "rejected") rejected[$1]++
}

function share(part, whole) { return whole ? sprintf("%.0f %%", 100 * part / whole) : "-" }

END {
  while ((getline extra < verdicts) > 0) unpaired++
  if (unpaired) {
    print "more verdicts than labels: the sample has a line too many" > "/dev/stderr"
    exit 1
  }
  printf "%-28s %7s %9s %9s\n", "attacks", "values", "caught", "missed"
  sorter = "sort"
  for (label in count) if (label ~ /^attack:/) {
    printf "  %-26s %7d %9d %9d\n", substr(label, 8), count[label], rejected[label], count[label] - rejected[label] | sorter
    attacks += count[label]
    caught += rejected[label]
  }
  close(sorter)
  printf "%-28s %7s %9s %9s\n", "harmless text", "values", "passed", "false alarms"
  for (label in count) if (label ~ /^fine:/) {
    printf "  %-26s %7d %9d %9d\n", substr(label, 6), count[label], count[label] - rejected[label], rejected[label] | sorter
    fine += count[label]
    alarms += rejected[label]
  }
  close(sorter)
  printf "\n%d of %d attacks were caught (%s), %d got through; %d of %d harmless values were rejected (%s).\n", \
    caught, attacks, share(caught, attacks), attacks - caught, alarms, fine, share(alarms, fine)
  print "The six built-in patterns know script tags and javascript: links in their plain spelling. They are a"
  print "first net, not a filter for HTML: event handlers, tags with attributes and encoded forms pass. Rules of"
  print "your own, such as --pattern and --max-length, say what a field may hold, which is the stronger guard."
}
