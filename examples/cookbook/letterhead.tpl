<!-- What begins each report. Parameters: title; place, an item. -->
<section id=letterhead, top=0>
<row cstyle='%s - %s'><value>${title}</value><value link=${place}></value></row>
<row cstyle='%s'><value>----------------------------------------</value></row>
</section>
