# Completion of Halomend's switches and files for fish.
complete -c Halomend -f -a '(__fish_complete_suffix .png)'
complete -c Halomend -s h -d 'Show a short help'
complete -c Halomend -s '?' -d 'Show a short help'
complete -c Halomend -s f -d 'Overwrite an existing output file without asking'
complete -c Halomend -s i -d 'In place: write the result over the input'
complete -c Halomend -s o -d 'Opaque: set every alpha to 255 before writing'
complete -c Halomend -s v -d 'Say what was done'
