<?xml version="1.0" encoding="UTF-8"?>
<!-- The listing with a way into the web client. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:import href="svnindex.xsl"/>

  <xsl:template name="home"><a href="/!/">Kelvarion Server</a></xsl:template>
</xsl:stylesheet>
