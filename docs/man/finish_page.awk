# What help2man and scdoc leave to do, so that groff and mandoc have nothing to say: a date that
# mandoc reads, no paragraph without a text, and text lines of 80 bytes at most.
#     awk -v date=YYYY-MM-DD -f finish_page.awk < page
/^\.TH / {
    $2 = toupper($2)
    sub(/"[^"]*[0-9][0-9][0-9][0-9][^"]*"/, "\"" date "\"")
}

# A paragraph begins before its text, not before the end of an indent or at a heading.
/^\.(P|PP)$/     { paragraph = !heading; next }
/^\.(TH|SH|SS) / { paragraph = 0; heading = 1; print; next }
/^\.RE/          { print; next }
paragraph        { print ".PP" }
                 { paragraph = heading = 0 }

/^\.nf/ { verbatim = 1 }
/^\.fi/ { verbatim = 0 }
verbatim || /^[.' ]/ || length <= 80 { print; next }
{
    line = $1
    for (word = 2; word <= NF; ++word) {
        if (length(line) + 1 + length($word) <= 80) {
            line = line " " $word
        } else {
            print line
            line = ($word ~ /^[.']/ ? "\\&" : "") $word  # a text, not a request
        }
    }
    print line
}
