<!-- SPDX-License-Identifier: MIT -->
<!-- A heading. Parameters: title, a key of the dictionary. -->
<section id=heading, bottom=0>
<css style=font-family:Helvetica-Bold;font-size:12>
<row cstyle='%s'><value dict>${title}</value></row>
<css style=font-family:Courier;font-size:10>
</section>
